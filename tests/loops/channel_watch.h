// What the switch of one side did, cycle by cycle: number and size of its steps.
#pragma once

#include <cmath>
#include <map>

#include "tests/support/plant_node.h"

namespace test {

class channel_watch {
 public:
  explicit channel_watch(plant_node& node, sim::direction side = sim::direction::rx)
      : node_(node), side_(side) {
    for (const auto channel : node_.channels()) {
      writes_at_start_[channel] = writes(channel);
      last_[channel] = attenuation(channel);
      largest_[channel] = 0.0;
    }
  }

  /// To be called once a cycle.
  void look() {
    for (const auto channel : node_.channels()) {
      const double now = attenuation(channel);
      largest_[channel] = std::max(largest_[channel], std::fabs(now - last_[channel]));
      last_[channel] = now;
    }
  }

  /// Writes of attenuation, and of the port, which moves no light if it is already set so.
  unsigned steps(unsigned channel) const { return writes(channel) - writes_at_start_.at(channel); }
  unsigned all_steps() const {
    unsigned sum = 0;
    for (const auto channel : node_.channels())
      sum += steps(channel);
    return sum;
  }
  /// Largest change of the attenuation that was set, between two looks, dB.
  double largest_change(unsigned channel) const { return largest_.at(channel); }

 private:
  unsigned writes(unsigned channel) const {
    const auto counters = node_.plant().channel_writes(0, side_, channel);
    return counters.switch_attenuation + counters.switch_port;
  }
  double attenuation(unsigned channel) const {
    return node_.plant().shown_attenuation_db(0, side_, channel);
  }

  plant_node& node_;
  sim::direction side_;
  std::map<unsigned, unsigned> writes_at_start_;
  std::map<unsigned, double> last_;
  std::map<unsigned, double> largest_;
};

}  // namespace test
