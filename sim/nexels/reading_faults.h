// The faults of a service's readings: which paths each one covers, how long it lasts, and the
// freezing of all readings across a restart. Every member is called with the plant's lock held.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sim/nexels/faulty_reading.h"

namespace sim {

class reading_faults {
 public:
  /// `stream` separates the noise from that of other services.
  void set_noise(std::uint64_t seed, std::string stream);

  /// Adds a reading of the tree; existing faults cover it too.
  void watch(const std::shared_ptr<faulty_reading>& added);

  /// A duration of 0 means until healed.
  void begin(const std::string& pattern, const reading_fault& fault,
             std::chrono::nanoseconds duration);
  /// Ends the faults whose own pattern equals this one, or is matched by it.
  void heal(const std::string& pattern);

  /// The service stops: its readings stay as they are, and for this long after its return.
  void hold_over_restart(std::chrono::nanoseconds after_restart) { hold_ = after_restart; }
  void stopped();
  void came_back();

  void step(std::chrono::nanoseconds dt);

 private:
  struct active_fault {
    unsigned number;
    std::string pattern;
    reading_fault fault;
    std::optional<std::chrono::nanoseconds> end;
    bool over_restart = false;
  };
  void begin(active_fault fault);
  void apply(const active_fault& fault, faulty_reading& to) const;
  void end(unsigned number);
  void forget_removed();
  std::vector<std::shared_ptr<faulty_reading>> live();

  std::uint64_t seed_ = 0;
  std::string stream_;
  std::chrono::nanoseconds now_{0};
  std::chrono::nanoseconds hold_{0};
  unsigned last_number_ = 0;
  std::vector<active_fault> faults_;
  std::vector<std::weak_ptr<faulty_reading>> readings_;  // also of channels that come and go
};

}  // namespace sim
