// A node of real processes that regulates the 32 channels of an orvalite: the starting point for
// tests of faults and recoveries.
#pragma once

#include "tests/support/daemon_node.h"
#include "tests/support/process_figures.h"
#include "tests/system/plant_controls.h"

namespace test {

constexpr const char* operational_line = "Manager operational, regulating: ";
constexpr const char* not_operational_line = "Manager not fully operational";

class regulating_node : public daemon_node {
 public:
  const plant_controls& plant() const { return plant_; }

  /// The store and the devices.
  void start_surroundings(const std::string& product = "orvalite");
  /// The daemon, up to where its configuration is awaited. Throws std::runtime_error with the log.
  void start_and_await(const std::string& product = "orvalite");
  /// Writes the configuration's end, and waits for a whole cycle.
  void release();
  /// All of the above, then until every channel is on target and no step follows.
  void bring_up();

  /// Waits for so many more lines with this text.
  bool wait_for_more(const std::string& text, unsigned lines = 1);
  bool await_rest();
  bool await_on_target() const;
  /// Disturbs a channel by 2 dB and waits until it is corrected; tells what went wrong, or nothing.
  std::string correct_a_disturbance(const std::string& channel);

  double resident_mib() { return figures_of(daemon().pid()).resident_mib; }

  /// `lumoractl` below this node's folder.
  finished lumoractl(const std::vector<std::string>& words) const;

 private:
  plant_controls plant_{root().path()};
};

}  // namespace test
