#pragma once
// The options of generated traffic, as the feed and the replay take them on the command line.

#include "generator.h"
#include "options.h"

namespace rig {

GeneratorOptions generatorOptions(const Options& options); // throws std::runtime_error
void tellNotPlaced(const TrueEvents& events); // on the screen; nothing when no movements were asked for

} // namespace rig
