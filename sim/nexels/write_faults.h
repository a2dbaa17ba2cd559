// What becomes of the writes and commands that reach a service: done, lost, done later or refused.
// Every member is called with the plant's lock held.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "sim/faults.h"
#include "sim/plant/noise.h"

namespace sim {

class write_faults {
 public:
  /// `stream` sets the noise apart from that of other services.
  void set_noise(std::uint64_t seed, std::string stream);

  /// A duration of 0 lasts until healed. Where several faults fit a path the newest counts.
  void begin(const std::string& pattern, const write_fault& fault,
             std::chrono::nanoseconds duration);
  /// Ends the faults whose own pattern is this one, or fits it as a path would. What is late comes
  /// all the same.
  void heal(const std::string& pattern);

  /// One write to the path: does it now, later or never. Throws what `action` throws, and the error
  /// of a fault that refuses. A late action has nobody left to tell of an error.
  void pass(const std::string& path, std::function<void()> action);

  /// Does what has become due.
  void step(std::chrono::nanoseconds dt);

  unsigned count() const { return count_; }
  void reset_count() { count_ = 0; }

 private:
  struct active_fault {
    std::string pattern;
    write_fault fault;
    std::optional<std::chrono::nanoseconds> end;
    noise_source noise;
    unsigned seen = 0;
  };
  struct late_write {
    std::chrono::nanoseconds due;
    std::function<void()> action;
  };
  static bool hits(active_fault& fault);

  std::uint64_t seed_ = 0;
  std::string stream_;
  unsigned last_number_ = 0;
  unsigned count_ = 0;
  std::chrono::nanoseconds now_{0};
  std::vector<active_fault> faults_;
  std::vector<late_write> late_;  // in the order in which they came
};

}  // namespace sim
