// A node of real processes whose devices answer late, like devices behind slow buses. Requests sent
// together are answered together.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "bench/process_use.h"
#include "tests/support/daemon_node.h"
#include "tests/system/plant_controls.h"

namespace bench {

class late_node {
 public:
  /// The store and the devices, with a simulated peer if `peer` names one.
  explicit late_node(std::string product, const std::string& peer = {});

  /// The daemon, and its configuration. Returns the time from its start to the end of its first
  /// cycle, without the second of prescribed waiting in between.
  seconds start();

  /// All devices of the node. The first delay of a device breaks its connections: set it before
  /// `start`.
  void delay_devices(std::chrono::milliseconds latency) const;
  void delay_peer(std::chrono::milliseconds latency) const;
  /// Throws std::runtime_error if it takes too long.
  void await_on_target() const;
  /// This many adjacent channels, after the existing ones; the first of every four is lit. Returns
  /// the time that the commands took.
  seconds add_channels(unsigned count);

  struct cycle {
    unsigned number = 0;
    seconds begin{0};  ///< of the day
    unsigned requests = 0;
    unsigned waits = 0;
  };
  cycle last_cycle() const;
  /// From one beginning to the next, on average.
  seconds period() const;
  /// Processor time of the loops' thread per cycle.
  seconds cpu_of_cycle();

  /// All lasers at once.
  void disturb(double db) const;

  test::daemon_node& processes() { return node_; }

 private:
  void delay(const std::string& services, std::chrono::milliseconds latency) const;

  const std::string product_;
  test::daemon_node node_;
  test::plant_controls plant_{node_.root().path()};
  unsigned channels_ = 0;
};

}  // namespace bench
