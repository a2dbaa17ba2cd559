// The guard on what the amplifier–monitor calibration learns from: a difference counts only if both
// readings are of the same light and current. A monitor reports light that it measured a pass ago,
// and after a restart instruments may repeat old readings for a while. A pure value: readings and
// time are passed in. On the manager thread.
#pragma once

#include <chrono>
#include <optional>

#include "helpers/guard_register.h"

namespace guards {

/// The calibration waits for readings that belong together.
inline constexpr helpers::guard_kind calibration_readings{"calibration-readings", 1};

class calibration_evidence {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  /// The amplifier's output and the monitor's total, dBm, once a cycle.
  void look(float tx_power, float total_power, time_point now);
  /// An amplifier or monitor that was away may come back with old readings.
  void begin_anew();

  /// Both have changed since the start, and neither has moved by 0.3 dB between the monitor's last
  /// two passes; or, for instruments without noise, nothing has changed for 30 s.
  bool is_sound(time_point now) const;

 private:
  struct pass {
    float tx_power;
    float total_power;
  };

  std::optional<pass> last_;     // of the newest look
  std::optional<pass> at_pass_;  // when the total last changed
  std::optional<pass> at_former_;
  bool tx_has_changed_ = false;
  bool total_has_changed_ = false;
  bool settled_ = false;
  time_point changed_at_{};
};

}  // namespace guards
