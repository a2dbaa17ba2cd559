// Faults for two nodes face to face, drawn by a seed: what breaks, how it is mended, and whether
// attenuators must not respond to it.
#pragma once

#include <chrono>
#include <functional>
#include <random>
#include <string>

#include "tests/support/plant_pair.h"

namespace test {

struct incident {
  std::string name;
  std::function<void()> begin;
  std::function<void()> end;
  /// A service, store or peer is away and the light is unchanged: no switch may be written.
  bool leaves_light_alone = false;
  /// Ends a manager, or writes something that asks a device: not together with a fault during which
  /// a manager may be inside a call.
  bool alone = false;
};

class incident_source {
 public:
  incident_source(plant_pair& pair, std::uint64_t seed) : pair_(pair), random_(seed) {}

  incident draw();
  /// A device or a peer that is away: what comes and goes by itself on a node.
  incident draw_absence();
  /// Overnight drift: small changes of losses and lasers, at once.
  void drift();

  double between(double low, double high) {
    return std::uniform_real_distribution<>(low, high)(random_);
  }
  unsigned below(unsigned count) {
    return std::uniform_int_distribution<unsigned>(0, count - 1)(random_);
  }
  unsigned any_channel() { return pair_.channels()[below(unsigned(pair_.channels().size()))]; }

 private:
  incident broken_device(unsigned node);
  incident lost_peer(unsigned node);
  incident restarted_manager(unsigned node);
  incident lost_store();
  incident cut_fibre(unsigned fibre);
  incident longer_span(unsigned fibre);
  incident dark_laser(unsigned node);
  incident moved_laser(unsigned node);
  incident channel_taken_down(unsigned node);
  incident other_target(unsigned node);
  incident stuck_monitor(unsigned node);

  plant_pair& pair_;
  std::mt19937_64 random_;
};

}  // namespace test
