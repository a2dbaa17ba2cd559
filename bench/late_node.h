// A node of real processes whose devices answer late, as those behind slow buses do. The delay is
// one of a pipeline: what is asked together is answered together.
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
  /// The store and the devices, beside a peer that the plant plays where `peer` names one.
  explicit late_node(std::string product, const std::string& peer = {});

  /// The daemon, and its configuration. Gives the time from its start to the end of its first
  /// cycle, without the second that is to be waited between the two.
  seconds start();

  /// All devices of the node. The first delay of one renews its connections: set it before `start`.
  void delay_devices(std::chrono::milliseconds latency) const;
  void delay_peer(std::chrono::milliseconds latency) const;
  /// Throws std::runtime_error when it takes too long.
  void await_on_target() const;
  /// So many channels in a row, behind those that are there; the first of four is lit. Gives the
  /// time that the commands took.
  seconds add_channels(unsigned count);

  struct cycle {
    unsigned number = 0;
    seconds begin{0};  ///< of the day
    unsigned requests = 0;
    unsigned waits = 0;
  };
  cycle last_cycle() const;
  /// From beginning to beginning, in the mean.
  seconds period() const;
  /// Processor time of the loops' thread for one.
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
