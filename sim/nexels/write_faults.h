// What happens to the writes and commands that reach a service: done, lost, done later or refused.
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
  /// `stream` separates the noise from that of other services.
  void set_noise(std::uint64_t seed, std::string stream);

  /// A duration of 0 means until healed. If several faults match a path, the newest applies.
  void begin(const std::string& pattern, const write_fault& fault,
             std::chrono::nanoseconds duration);
  /// Ends the faults whose own pattern equals this one, or is matched by it. Late writes are still
  /// carried out.
  void heal(const std::string& pattern);

  /// One write to the path: carries it out now, later or never. Throws whatever `action` throws,
  /// and the error of a fault that refuses. An error of a late action is lost.
  void pass(const std::string& path, std::function<void()> action);

  /// Carries out what is due.
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
  std::vector<late_write> late_;  // in order of arrival
};

}  // namespace sim
