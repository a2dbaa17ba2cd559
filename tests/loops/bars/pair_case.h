// Two managers face to face at rest, and how the light after the far preamps moves.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tests/loops/bars/node_case.h"
#include "tests/loops/pair_stories.h"

namespace bars {

using test::plant_pair;
using test::voa_watch;

/// Nodes that know each other, dark.
sim::topology pair_of(const std::string& model, std::uint64_t seed);
void bring_to_rest(plant_pair& pair, nanoseconds time);
/// Mean power at which a node's channels arrive after the far preamp, less the wanted 5 dBm.
double line_error(plant_pair& pair, unsigned node);

}  // namespace bars
