// The figures of the whole daemon, in a node of real processes with a full band: its cost at rest,
// its memory, the duration of its start.
#pragma once

#include <chrono>
#include <functional>

#include "bench/bare_socket.h"
#include "tests/support/daemon_node.h"
#include "tests/system/plant_controls.h"

namespace bench {

class daemon_figures {
 public:
  /// Measures and prints. True if every goal is reached.
  bool measure();

 private:
  bool measure_start();
  bool measure_rest();
  bool measure_watched();
  bool measure_subscribing();
  bool measure_storms();
  bool measure_memory();
  double bare_exchanges(double a_cycle);
  /// Shares of one core, while `meanwhile` runs.
  struct load {
    double cycle;  ///< of the manager thread
    double all;
    double waits;  ///< of the manager thread, in a cycle
  };
  load load_during(std::chrono::seconds time, const std::function<void()>& meanwhile);

  bare_socket bare_;  // forks, so before any thread
  test::daemon_node node_;
  test::plant_controls plant_{node_.root().path()};
};

}  // namespace bench
