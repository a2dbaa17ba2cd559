// Two managers face to face at rest, and how the light after the far preamps moves.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tests/loops/bars/node_case.h"
#include "tests/support/plant_pair.h"

namespace bars {

using test::plant_pair;

/// Dark nodes that know each other: a model unknown to peers reports another name.
sim::topology known_pair(const std::string& model);
sim::topology pair_of(const std::string& model, std::uint64_t seed);
void bring_to_rest(plant_pair& pair, nanoseconds time);
/// Mean power at which a node's channels arrive after the far preamp, less the wanted 5 dBm.
double line_error(test::plant_stage& stage, unsigned node);

/// Ways in which a peer deprives the line of what it needs for regulation.
enum class peer_failure { killed, hung, restarted, switch_service, dark };
constexpr peer_failure peer_failures[] = {peer_failure::killed, peer_failure::hung,
                                          peer_failure::restarted, peer_failure::switch_service,
                                          peer_failure::dark};
/// Of the second node.
void begin(peer_failure what, plant_pair& pair);
void end(peer_failure what, plant_pair& pair);
/// Keeps reporting its preamp, until that is no longer at its limit.
constexpr bool still_tells(peer_failure what) {
  return what == peer_failure::restarted || what == peer_failure::switch_service;
}

}  // namespace bars
