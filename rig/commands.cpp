// The table of subcommands.

#include "rig.h"

namespace rig {

const std::vector<Command>& commands() {
    static const std::vector<Command> table{
        {"simulator", "a simulator that speaks SimConnect over TCP", runSimulator},
        {"feed", "a RealTraffic that plays a recording or makes traffic", runFeed},
        {"server", "a download server for a folder", runServer},
        {"refdata", "builds a download tree from plain tables", runRefdata},
        {"fleet", "an installed simulator with livery packages and sceneries", runFleet},
        {"liveries", "what the program's scan makes of a folder", runLiveries},
        {"bgl", "what the program's decoder makes of a scenery file", runBgl},
        {"learn", "weeks at an airport in virtual time: a learned file, and how good it is", runLearn},
        {"replay", "a whole flight in virtual time, with a report", runReplay},
    };
    return table;
}

} // namespace rig
