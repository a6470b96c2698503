// rig refdata: the command.

#include "options.h"
#include "refdata/refdata.h"
#include "refdata/stands.h"
#include "rig.h"

#include <fmt/format.h>

#include <algorithm>

namespace rig {

constexpr const char* usage = R"(usage: rig refdata --out DIR [options]
Builds the reference data from plain tables.
  --out DIR        a download tree: dbase.zip, AIG-regcodes.zip, version files, airport files
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

static void writeAirports(const Options& options) {
    constexpr std::size_t mostComplaints = 30; // on the screen
    const StandTables tables =
        readStandTables(options.has("stands") ? options.path("stands") : "rig/airports",
                        options.has("directory") ? options.path("directory") : "install/input");
    writeAirportFiles(tables.airports, options.path("out"));
    std::size_t stands = 0;
    for (const auto& airport : tables.airports) stands += airport.stands.size();
    fmt::print("{} airports with {} stands\n", tables.airports.size(), stands);
    for (std::size_t i = 0; i < std::min(mostComplaints, tables.complaints.size()); ++i)
        fmt::print(stderr, "{}\n", tables.complaints[i]);
    if (tables.complaints.size() > mostComplaints)
        fmt::print(stderr, "and {} more\n", tables.complaints.size() - mostComplaints);
}

int runRefdata(const std::vector<std::string>& arguments) {
    const Options options(arguments,
                          {"out", "tables", "types", "airlines", "registrations", "fixes", "similar", "cargo",
                           "publishers", "simaddons", "stands", "directory", "synthetic", "seed"},
                          {"help"});
    if (options.has("help") || !options.has("out")) {
        fmt::print(options.has("help") ? stdout : stderr, "{}", usage);
        return options.has("help") ? 0 : 2;
    }
    RefTableFiles files = refTablesIn(options.has("tables") ? options.path("tables") : "rig/refdata/tables");
    const std::pair<const char*, std::filesystem::path*> replaced[] = {
        {"types", &files.types},
        {"airlines", &files.airlines},
        {"registrations", &files.registrations},
        {"fixes", &files.fixes},
        {"similar", &files.similar},
        {"cargo", &files.cargoTypes},
        {"publishers", &files.publishers},
        {"simaddons", &files.simaddons}};
    for (const auto& [name, file] : replaced)
        if (options.has(name)) *file = options.path(name);
    RefTables tables = readRefTables(files);
    constexpr std::int64_t mostSynthetic = 5'000'000, largestSeed = 2'000'000'000;
    addSynthetic(tables, static_cast<std::size_t>(options.integer("synthetic", 0, 0, mostSynthetic)),
                 static_cast<std::uint32_t>(options.integer("seed", 1, 0, largestSeed)));
    writeDownloadTree(tables, options.path("out"));
    writeAirports(options);
    fmt::print("{} types, {} airlines, {} registrations, {} rows skipped\n", tables.types.size(),
               tables.airlines.size(), tables.registrations.size(), tables.skipped);
    return 0;
}

} // namespace rig
