// Cases on two nodes face to face, shared by the tests with their limits and by the bars that
// measure the actual figures.
#pragma once

#include <cmath>
#include <vector>

#include "tests/support/plant_node.h"
#include "tests/support/plant_pair.h"

namespace test {

/// Dark nodes that know each other: a model unknown to peers reports another name.
sim::topology known_pair(const std::string& product);

/// Ways in which a peer deprives the line of what it needs for regulation.
enum class peer_failure { killed, hung, restarted, switch_service, dark };
constexpr std::pair<peer_failure, const char*> peer_failures[] = {
    {peer_failure::killed, "killed"},       {peer_failure::hung, "hung"},
    {peer_failure::restarted, "restarted"}, {peer_failure::switch_service, "without its switch"},
    {peer_failure::dark, "dark"},
};
/// Of the second node.
void begin(peer_failure what, plant_pair& pair);
void end(peer_failure what, plant_pair& pair);
/// Keeps reporting its preamp, until that is no longer at its limit.
constexpr bool still_tells(peer_failure what) {
  return what == peer_failure::restarted || what == peer_failure::switch_service;
}

/// The step history of one line attenuator, by looking at the truth every tenth of a second.
class voa_watch {
 public:
  voa_watch(plant_pair& pair, unsigned node)
      : pair_(pair),
        node_(node),
        begin_(pair.now()),
        last_write_(begin_),
        last_(attenuation()),
        writes_(pair.plant().voa_writes(node)) {}

  void look();
  const std::vector<double>& steps() const { return steps_; }
  unsigned changes_of_sign() const;
  /// Since the beginning; 0 without one.
  std::chrono::nanoseconds last_write() const { return last_write_ - begin_; }

 private:
  double attenuation() const { return pair_.plant().voa_attenuation_db(node_); }

  plant_pair& pair_;
  unsigned node_;
  std::chrono::nanoseconds begin_;
  std::chrono::nanoseconds last_write_;
  double last_;
  unsigned writes_;
  std::vector<double> steps_;
};

/// The span losses published by lit nodes over a span of this loss, less the plant's truth.
std::vector<double> span_loss_errors(sim::topology lit_pair, double span_db);

struct osnr_error {
  unsigned channel;
  double truth_db;
  double error_db;
};
/// What a lit node shows as signal to noise, less the truth, of 10 to 30 dB: every third channel is
/// dark, so that each has a dark neighbour.
std::vector<osnr_error> osnr_errors(const sim::topology& lit);

}  // namespace test
