// The environment of managers on the simulated plant: the plant, its devices' trees in-process, a
// store in memory, the log and a clock moved by hand. Nothing here sleeps or opens a socket.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/in_process/network.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/poll_scheduler.h"
#include "sim/plant.h"
#include "tests/support/hand_clock.h"
#include "tests/support/memory_store.h"
#include "tests/support/tree_values.h"

namespace test {

/// A stretch of cycles' worth of log lines that the daemon wrote at level 2.
using log_lines = std::vector<std::string>;
/// How many of them begin so.
long count_of(const log_lines& lines, const std::string& beginning);

/// The default topology of a product with every client of its nodes dark.
sim::topology dark_topology(const std::string& product, unsigned nodes = 1);
/// The default one with the plant's far end as a peer of this family, over fibres of this length.
sim::topology facing(const std::string& product, const std::string& family, double length_km);

class plant_stage {
 public:
  sim::plant& plant() { return *plant_; }
  hand_clock& clock() { return *clock_; }
  std::chrono::nanoseconds now() const { return clock_->elapsed(); }
  const std::vector<unsigned>& channels() const { return channels_; }
  /// Lines of level 2 since the last call.
  log_lines take_log();
  /// Calls `action` once, at the next log line that begins so: between two steps of an operation.
  void at_log_line(std::string beginning, std::function<void()> action);

 protected:
  explicit plant_stage(sim::topology topology);
  virtual ~plant_stage();

  /// Gives the pollers their time.
  virtual void poll(std::chrono::milliseconds passed) = 0;
  /// Ends all sleeping, for good.
  void end_time();
  /// Truth of the plant less the channel's target at the booster, dB.
  double error_at(unsigned node, unsigned channel);
  bool all_within(unsigned node, double within_db);

  /// A manager's LED thread sees its end at its next look, a second away.
  static constexpr std::chrono::seconds leds_end{2};

  memory_store store_;
  nx::in_process_network network_;
  std::unique_ptr<sim::plant> plant_;
  std::shared_ptr<hand_clock> clock_;

 private:
  void step(std::chrono::nanoseconds piece);
  void take_line(const std::string& text);

  std::vector<unsigned> channels_;
  std::mutex log_mutex_;
  log_lines log_;
  std::string awaited_line_;
  std::function<void()> at_awaited_line_;
  std::chrono::nanoseconds unpolled_{0};
};

}  // namespace test
