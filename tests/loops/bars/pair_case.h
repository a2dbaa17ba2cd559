// Two managers face to face at rest, and how their line attenuators and the light behind the far
// preamps move.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tests/loops/bars/node_case.h"
#include "tests/support/plant_pair.h"

namespace bars {

using test::plant_pair;

/// The step history of one line attenuator, by looking at the truth every tenth of a second.
class voa_watch {
 public:
  voa_watch(plant_pair& pair, unsigned node)
      : pair_(pair),
        node_(node),
        begin_(pair.now()),
        last_(attenuation()),
        writes_(pair.plant().voa_writes(node)) {}

  void look();
  double changes_of_sign() const { return changes_; }
  /// Seconds from the beginning to the last write, 0 without one.
  double last_write_s() const { return last_write_s_; }

 private:
  double attenuation() const { return pair_.plant().voa_attenuation_db(node_); }

  plant_pair& pair_;
  unsigned node_;
  nanoseconds begin_;
  double last_;
  unsigned writes_;
  double last_step_ = 0.0;
  double changes_ = 0.0;
  double last_write_s_ = 0.0;
};

/// Nodes that know each other, dark. No adapter is for orvamax, so it tells another name.
sim::topology pair_of(const std::string& model, std::uint64_t seed);
void bring_to_rest(plant_pair& pair, nanoseconds time);
/// Mean power at which a node's channels arrive behind the far preamp, less the wanted 5 dBm.
double line_error(plant_pair& pair, unsigned node);

}  // namespace bars
