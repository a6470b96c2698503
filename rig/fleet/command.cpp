// rig fleet: the command.

#include "app/parameters.h"
#include "fleet/fleet.h"
#include "options.h"
#include "platform/files.h"
#include "rig.h"

#include <fmt/format.h>

#include <stdexcept>

namespace rig {

static constexpr const char* usage = R"(usage: rig fleet FOLDER [options]
Writes an installed simulator: livery packages, sceneries, and the files by which a program finds them. FOLDER/config and
FOLDER/data are the user's folders: give them to the program as XDG_CONFIG_HOME and XDG_DATA_HOME. FOLDER/titles.txt
has the titles that a simulator with these packages can create, for rig simulator --titles.
  --edition 2020|2024  which simulator (2020)
  --form FORM          how it is installed (steam):
                       steam      packages in the folder of the Steam edition
                       store      the Store edition
                       drive      Steam edition with its packages on a drive of their own, FOLDER/drive
                       dashboard  the same, named by the simulator's dashboard
                       boxed      the same, the boxed edition
  --liveries N         liveries in sound files (2000); the files are about a third as many
  --sceneries N        packages with an airport (40), each with files without one beside it
  --scenery-bytes N    that each of their BGL files has at least (0)
  --broken N           files that a scan reports or passes over: N of each kind (1)
  --seed S             of the habits and the choice (1)
  --tables DIR         types, airlines and registrations (rig/refdata/tables)
)";

static FleetForm formOf(const std::string& name) {
    const std::pair<const char*, FleetForm> forms[] = {{"steam", FleetForm::steam},
                                                       {"store", FleetForm::store},
                                                       {"drive", FleetForm::drive},
                                                       {"dashboard", FleetForm::dashboard},
                                                       {"boxed", FleetForm::boxed}};
    for (const auto& [text, form] : forms)
        if (name == text) return form;
    throw std::runtime_error("--form is steam, store, drive, dashboard or boxed");
}

int runFleet(const std::vector<std::string>& arguments) {
    const Options options(
        arguments, {"edition", "form", "liveries", "sceneries", "scenery-bytes", "broken", "seed", "tables"},
        {"help"});
    if (options.has("help") || options.rest.size() != 1) {
        fmt::print(options.has("help") ? stdout : stderr, "{}", usage);
        return options.has("help") ? 0 : 2;
    }
    constexpr long mostLiveries = 2'000'000, mostBroken = 1000, largestSeed = 2'000'000'000;
    const std::string edition = options.text("edition", "2020");
    if (edition != "2020" && edition != "2024") throw std::runtime_error("--edition is 2020 or 2024");
    FleetOptions wanted;
    wanted.folder = plat::textPath(options.rest.front());
    wanted.is2020 = edition == "2020";
    wanted.form = formOf(options.text("form", "steam"));
    wanted.liveries = static_cast<std::size_t>(options.integer("liveries", 2000, 0, mostLiveries));
    constexpr long mostSceneries = 20'000, mostBytes = 100'000'000;
    wanted.sceneries = static_cast<std::size_t>(options.integer("sceneries", 40, 0, mostSceneries));
    wanted.sceneryBytes = static_cast<std::size_t>(options.integer("scenery-bytes", 0, 0, mostBytes));
    wanted.brokenRounds = static_cast<std::size_t>(options.integer("broken", 1, 0, mostBroken));
    wanted.seed = static_cast<std::uint32_t>(options.integer("seed", 1, 0, largestSeed));
    const RefTables tables =
        readRefTables(refTablesIn(options.has("tables") ? options.path("tables") : "rig/refdata/tables"));
    const FleetSummary done = writeFleet(tables, wanted);
    fmt::print("packages in \"{}\"\n{} aircraft.cfg files with {} sections, for {} liveries\n"
               "{} BGL files with {} airports\n",
               plat::pathText(done.packages), done.files, done.sections, done.liveries, done.sceneryFiles,
               done.airports.size());
    return 0;
}

} // namespace rig
