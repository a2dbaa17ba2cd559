// What the manager publishes about itself under "insight/": the guards on the loops, and the cost
// of the last cycle. Texts are made when somebody reads them.
//
// Threads: note_cycle on the manager thread; the getters on the server's.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "device/cycle_reads.h"
#include "platform/value_tree/value_group.h"
#include "platform/wire/json.h"

class nx_db;

namespace manager {

/// Durations of the cycles since the start.
struct cycle_times {
  /// Fast devices take milliseconds, a hung one 2 s.
  static constexpr std::array bounds{0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1.0, 2.5, 5.0, 10.0};

  std::uint64_t count = 0;
  double seconds = 0;
  std::array<std::uint64_t, bounds.size()> within{};  ///< up to that bound

  void add(double lasted);
};

/// One cycle of the main loop, up to its pause.
struct cycle_record {
  std::uint64_t number = 0;
  std::chrono::system_clock::time_point begin{};
  std::chrono::nanoseconds lasted{0};
  device::cycle_reads::cost reads;
  const char* turn = "none";  ///< "client rx" or "line"
};

class insight : public std::enable_shared_from_this<insight> {
 public:
  void setup_api(nx_db& db);
  /// Numbers the cycle.
  void note_cycle(cycle_record record);

  /// {guard: {"withheld": writes, "active": [{"on", "since", "reason", "withheld"}]}}, for each
  /// guard that has been active since the start.
  nx::json_document get_guards();
  /// {"number", "begin", "seconds", "waited", "requests", "waits", "turn"}; waited: the part of the
  /// seconds spent waiting for devices.
  nx::json_document get_cycle();
  /// {"count", "seconds": the sum, "within": [[bound in s, number of cycles up to that]]}
  nx::json_document get_cycles();

 private:
  std::shared_ptr<nx::api::value_group> values_ = nx::api::value_group::create(1);
  std::mutex mutex_;  // guards the members below
  cycle_record cycle_;
  cycle_times times_;
};

}  // namespace manager
