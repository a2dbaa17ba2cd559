// The steps of one attenuator: how many in the last hour, how often they reversed, and whether it
// hunts, that is, reversed three times within ten minutes without a cause in between. A step after
// ten minutes of rest follows a drift and swings back from nothing: it does not count for hunting.
// It is over once the reversals stay away for three times as long as they ever did meanwhile, two
// minutes at least: the steps have ended, or go one way.
// A pure value; time is passed in and never runs backwards. Written by the loop's thread; an owner
// that shares it locks it.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace insight {

class actuator_record {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  /// A write that moved the attenuator by `change`, dB; only the sign matters. 0 dB is ignored.
  void step(time_point now, float change);
  /// An external cause of the next steps: light that came or went, a new target, an unblock.
  /// Reversals before it are no sign of hunting, and the next step does not count as one.
  void event();

  /// Since the record began.
  unsigned steps() const { return steps_; }
  /// To the minute: the current minute and the 59 before.
  unsigned steps_last_hour(time_point now) const;
  unsigned reversals_last_hour(time_point now) const;
  bool is_hunting(time_point now) const;
  std::optional<time_point> last_step() const { return last_step_; }

  static constexpr unsigned turns_of_hunting = 3;
  static constexpr std::chrono::minutes hunting_window{10};
  static constexpr std::chrono::minutes least_patience{2};

 private:
  struct of_minute {
    std::uint16_t steps = 0;
    std::uint16_t reversals = 0;
  };
  static constexpr unsigned minutes_kept = 60;

  static std::int64_t minute_of(time_point time);
  void note_turn(time_point now);
  void turn_to(std::int64_t minute);
  template <class Count>
  unsigned sum(time_point now, Count count) const;

  std::array<of_minute, minutes_kept> minutes_{};  // by minute, modulo 60
  std::int64_t newest_ = -1;                       // minute of the newest entry
  std::array<time_point, turns_of_hunting> turns_{};
  unsigned steps_ = 0;
  unsigned turn_count_ = 0;  // since the last event, up to the size of turns_
  // Between two reversals, since the hunting began. It only grows, so noise, whose reversals come
  // at all intervals, does not end the hunting again and again.
  std::chrono::nanoseconds longest_pause_{0};
  float last_change_ = 0;  // 0 after an event: the next step is no reversal
  std::optional<time_point> last_step_;
};

}  // namespace insight
