// rig refdata: the command.

#include "options.h"
#include "platform/files.h"
#include "refdata/publictables.h"
#include "refdata/refdata.h"
#include "refdata/stands.h"
#include "rig.h"

#include <fmt/format.h>

#include <algorithm>

namespace rig {

constexpr const char* usage = R"(usage: rig refdata --out DIR [options]
Builds the reference data from plain tables.
  --out DIR        a download tree: dbase.zip, AIG-regcodes.zip, version files, airport files
  --from PLACE     tables as people can download them, a file or a folder; several times if need be. What each
                   is, is told by what is in it: airports, aircraft registers (CSV or JSON), types, airlines,
                   stands (CSV or apt.dat). They take the place of the tables below, and DIR/input gets an
                   airport directory for the program's folder "input"
  --tables DIR     the tables (rig/refdata/tables)
  --types FILE --airlines FILE --registrations FILE --fixes FILE --similar FILE --cargo FILE
  --publishers FILE --simaddons FILE
                   one table from elsewhere; plain or gzip
  --stands PLACE   a table of stands, CODE.csv or one with a column "icao", or a folder of tables (rig/airports);
                   "index.csv" beside it says where the airports are, else the directory does
  --directory DIR  where the airport directory is (install/input)
  --synthetic N    adds N invented registrations
  --seed S         for them (1)
)";

namespace {

void tellStands(const StandTables& tables) {
    constexpr std::size_t mostComplaints = 30; // on the screen
    std::size_t stands = 0;
    for (const auto& airport : tables.airports) stands += airport.stands.size();
    fmt::print("{} airports with {} stands\n", tables.airports.size(), stands);
    for (std::size_t i = 0; i < std::min(mostComplaints, tables.complaints.size()); ++i)
        fmt::print(stderr, "{}\n", tables.complaints[i]);
    if (tables.complaints.size() > mostComplaints)
        fmt::print(stderr, "and {} more\n", tables.complaints.size() - mostComplaints);
}

// What of them takes the place of our own tables.
void takePublicTables(const RefTableFiles& found, RefTableFiles& files) {
    const auto take = [](const RefTableFiles::Files& from, RefTableFiles::Files& to) {
        if (!from.empty()) to = from;
    };
    take(found.types, files.types);
    take(found.airlines, files.airlines);
    take(found.registrations, files.registrations);
    take(found.fixes, files.fixes);
    take(found.similar, files.similar);
    take(found.cargoTypes, files.cargoTypes);
}

// The airport files, and with public tables the directory.
void writeAirports(const Options& options, const PublicFiles& found) {
    const std::filesystem::path out = options.path("out");
    const auto directory = options.has("directory") ? options.path("directory") : "install/input";
    std::vector<AirportRow> airports;
    if (!found.airports.empty()) {
        airports = readAirportRows(found.airports);
        writeAirportDirectory(airports, out / "input");
        fmt::print("{} airports in the directory\n", airports.size());
    }
    const bool ownStands = found.stands.empty() || options.has("stands");
    const StandTables tables =
        ownStands
            ? readStandTables(options.has("stands") ? options.path("stands") : "rig/airports", directory)
            : readStandTables(found.stands, airports);
    writeAirportFiles(tables.airports, out);
    tellStands(tables);
}

} // namespace

int runRefdata(const std::vector<std::string>& arguments) {
    const Options options(arguments,
                          {"out", "from", "tables", "types", "airlines", "registrations", "fixes", "similar",
                           "cargo", "publishers", "simaddons", "stands", "directory", "synthetic", "seed"},
                          {"help"});
    if (options.has("help") || !options.has("out")) {
        fmt::print(options.has("help") ? stdout : stderr, "{}", usage);
        return options.has("help") ? 0 : 2;
    }
    RefTableFiles files = refTablesIn(options.has("tables") ? options.path("tables") : "rig/refdata/tables");
    std::vector<std::filesystem::path> places;
    for (const auto& place : options.all("from")) places.push_back(plat::textPath(place));
    const PublicFiles found = sortPublicFiles(places);
    for (const auto& line : found.told) fmt::print("{}\n", line);
    takePublicTables(found.tables, files);
    const std::pair<const char*, RefTableFiles::Files*> replaced[] = {{"types", &files.types},
                                                                      {"airlines", &files.airlines},
                                                                      {"registrations", &files.registrations},
                                                                      {"fixes", &files.fixes},
                                                                      {"similar", &files.similar},
                                                                      {"cargo", &files.cargoTypes},
                                                                      {"publishers", &files.publishers},
                                                                      {"simaddons", &files.simaddons}};
    for (const auto& [name, file] : replaced)
        if (options.has(name)) *file = {options.path(name)};
    RefTables tables = readRefTables(files);
    constexpr std::int64_t mostSynthetic = 5'000'000, largestSeed = 2'000'000'000;
    addSynthetic(tables, static_cast<std::size_t>(options.integer("synthetic", 0, 0, mostSynthetic)),
                 static_cast<std::uint32_t>(options.integer("seed", 1, 0, largestSeed)));
    writeDownloadTree(tables, options.path("out"));
    writeAirports(options, found);
    fmt::print("{} types, {} airlines, {} registrations, {} rows skipped\n", tables.types.size(),
               tables.airlines.size(), tables.registrations.size(), tables.skipped);
    return 0;
}

} // namespace rig
