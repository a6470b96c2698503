#pragma once
// The subcommands of the rig.

#include <functional>
#include <string>
#include <vector>

namespace rig {

struct Command {
    const char* name;
    const char* summary;
    std::function<int(const std::vector<std::string>&)>
        run; // arguments behind the name; throws for bad input
};

const std::vector<Command>& commands();

int runSimulator(const std::vector<std::string>& arguments);
int runFeed(const std::vector<std::string>& arguments);
int runServer(const std::vector<std::string>& arguments);
int runRefdata(const std::vector<std::string>& arguments);
int runFleet(const std::vector<std::string>& arguments);
int runBgl(const std::vector<std::string>& arguments);
int runLiveries(const std::vector<std::string>& arguments);
int runLearn(const std::vector<std::string>& arguments);
int runReplay(const std::vector<std::string>& arguments);

} // namespace rig
