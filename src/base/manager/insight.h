// What the manager knows of itself and tells below "insight/": the guards above the loops, and what
// the last cycle cost. Texts are made when somebody reads them.
//
// Threads: note_cycle on the manager thread; the getters on the server's.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "device/cycle_reads.h"
#include "platform/value_tree/value_group.h"
#include "platform/wire/json.h"

class nx_db;

namespace manager {

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
  /// Gives the cycle its number.
  void note_cycle(cycle_record record);

  /// {guard: {"withheld": writes, "active": [{"on", "since", "reason", "withheld"}]}}, of each
  /// guard that has been at work since the start.
  nx::json_document get_guards();
  /// {"number", "begin", "seconds", "waited", "requests", "waits", "turn"}; waited: seconds of it
  /// spent waiting for answers of devices.
  nx::json_document get_cycle();

 private:
  std::shared_ptr<nx::api::value_group> values_ = nx::api::value_group::create(1);
  std::mutex mutex_;  // guards the record
  cycle_record cycle_;
};

}  // namespace manager
