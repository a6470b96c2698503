// The rig: one program of stand-ins for the outside world. Each subcommand prints --help.

#include "rig.h"

#include <cstdio>
#include <cstring>
#include <exception>

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + (argc > 1 ? 2 : 1), argv + argc);
    const std::string name = argc > 1 ? argv[1] : "--help";
    for (const auto& command : rig::commands()) {
        if (name != command.name) continue;
        try {
            return command.run(arguments);
        } catch (const std::exception& e) {
            std::fprintf(stderr, "rig %s: %s\n", command.name, e.what());
            return 1;
        }
    }
    std::FILE* out = name == "--help" ? stdout : stderr;
    if (out == stderr) std::fprintf(stderr, "rig: unknown command \"%s\"\n", name.c_str());
    std::fprintf(out, "usage: rig COMMAND [--help]\n");
    for (const auto& command : rig::commands())
        std::fprintf(out, "  %-10s %s\n", command.name, command.summary);
    return out == stdout ? 0 : 2;
}
