// The steps of one attenuator: how many in the last hour, how often they turned round, and whether
// it hunts: three turns within ten minutes with nothing to answer between them. A pure value; time
// is handed in, and never runs backwards. The loop's thread writes it; whoever shares it locks.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace insight {

class actuator_record {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  /// A write that moved the attenuator by `change`, dB; the sign alone counts. None of 0 dB.
  void step(time_point now, float change);
  /// Something came from outside that the next steps answer: light that came or went, another
  /// target, an unblock. Turns before it are no sign of hunting, and the next step turns nothing.
  void event();

  /// Since the record began.
  unsigned steps() const { return steps_; }
  /// To the minute: of the minute that runs, and of the 59 before.
  unsigned steps_last_hour(time_point now) const;
  unsigned reversals_last_hour(time_point now) const;
  bool is_hunting(time_point now) const;
  std::optional<time_point> last_step() const { return last_step_; }

  static constexpr unsigned turns_of_hunting = 3;
  static constexpr std::chrono::minutes hunting_window{10};

 private:
  struct of_minute {
    std::uint16_t steps = 0;
    std::uint16_t reversals = 0;
  };
  static constexpr unsigned minutes_kept = 60;

  static std::int64_t minute_of(time_point time);
  void turn_to(std::int64_t minute);
  template <class Count>
  unsigned sum(time_point now, Count count) const;

  std::array<of_minute, minutes_kept> minutes_{};  // by minute, modulo 60
  std::int64_t newest_ = -1;                       // minute of the newest place
  std::array<time_point, turns_of_hunting> turns_{};
  unsigned steps_ = 0;
  unsigned turn_count_ = 0;  // since the last event, up to the size of turns_
  float last_change_ = 0;    // 0 after an event: nothing to turn round
  std::optional<time_point> last_step_;
};

}  // namespace insight
