// The guards on one channel's steps: a step needs evidence of the step before it, light that is
// steady, and an amplifier that can follow. Pure functions and small values: readings, ages and
// time are passed in; no device, no clock, no log. The laws of the step itself are in
// channel/control/regulation.h.
//
// Called on the loop's thread with the plan's mutex held. Powers in dBm, attenuations in dB.
#pragma once

#include <chrono>
#include <optional>

#include "helpers/guard_register.h"

namespace guards {

using time_point = std::chrono::steady_clock::time_point;

/// No step on a reading that may be from before the last step, or from before the monitor's start.
inline constexpr helpers::guard_kind fresh_reading{"fresh-reading", 1};
/// No step on a reading that the monitor or the switch has since replaced by nonsense.
inline constexpr helpers::guard_kind known_reading{"known-reading"};
/// No opening while a client's light is still rising.
inline constexpr helpers::guard_kind steady_light{"steady-light", 1};
/// No opening into an amplifier that is more than 1 dB in saturation.
inline constexpr helpers::guard_kind unsaturated_amplifier{"unsaturated-amplifier"};
/// No second write of a value that an attenuator already shows.
inline constexpr helpers::guard_kind end_of_range{"end-of-range"};
/// No parking at a default attenuation that is further open than the switch's range.
inline constexpr helpers::guard_kind parking_range{"parking-range"};

/// What is known of a channel when a step is judged.
struct channel_view {
  time_point now{};
  float attenuation = 0;        ///< as the switch reads it back
  time_point attenuation_at{};  ///< arrival of that reading
  float power = 0;
  time_point power_at{};
  /// When the amplifier was last seen in saturation, which hides a step's effect on the light.
  time_point saturated_at{};
};

/// Why a step waits; `none` permits it.
enum class wait_for { none, switch_to_move, new_reading, effect };

/// The last step of a channel, until its effect has been seen.
///
/// | State               | Left when                                                              |
/// |---------------------|------------------------------------------------------------------------|
/// | no step             | `made`                                                                 |
/// | switch to move      | its read-back stands at the target, or has moved and rests for 1 s;    |
/// |                     | by itself after 5 s, doubled to 30 s with each futile try              |
/// | new reading         | the monitor tells a reading that came after that; after 2.5 s one that |
/// |                     | shows the whole step does                                              |
/// | effect              | a quarter of the step shows in the light, or the amplifier was in      |
/// |                     | saturation since; by itself after 30 s                                 |
class last_step {
 public:
  /// A step from `from`, where the channel was, to `target` was written, based on `view`.
  void made(float from, float target, const channel_view& view);
  void forget();

  /// To be called with each look at the channel.
  void look(const channel_view& view);

  wait_for waits_for(const channel_view& view) const;
  /// The time in which the switch had to move is over: the channel is judged from where it is.
  bool has_expired(const channel_view& view) const;
  /// Where it is: the read-back, or the target if the light has followed a step that the read-back
  /// does not show.
  float standing_attenuation(const channel_view& view) const;
  /// `target` has already been written and is where the switch is as far as can be told, or the
  /// step is so small that this switch has twice failed to resolve it.
  bool is_futile(const channel_view& view, float target) const;

 private:
  struct step {
    float from;
    float target;
    float read_back;  ///< at that time
    float power;      ///< the reading on which it was based
    time_point at;
    unsigned futile_tries;
    float shown;  ///< the read-back when it last moved
    time_point shown_at;
    std::optional<time_point> moved_at;
    bool followed;        ///< the light has shown the step, but the read-back has not
    bool shown_in_light;  ///< its effect was seen once: later changes are not part of it
  };

  void look_for_movement(const channel_view& view);
  bool shows_in(const channel_view& view) const;
  float missing_effect(const channel_view& view, float expected, float share) const;
  bool light_followed(const channel_view& view) const;

  std::optional<step> step_;
};

/// Whether the monitor's readings of a channel are of the present light: the first value of a
/// subscription is as old as the nexel's last look, and after a restart may be from before it.
class live_reading {
 public:
  /// Counts of the present subscription, as device::reading has them.
  void look(unsigned arrivals, unsigned changes, time_point now);
  /// It has changed since, or has been unchanged for 22 s: noiseless light seen by a noiseless
  /// monitor.
  bool is_live(time_point now) const;

 private:
  bool has_value_ = false;
  bool has_changed_ = false;
  time_point since_{};
};

/// Whether a monitor that reports a dark band may just not have measured yet since its start: the
/// amplifier sees light, no channel is reported as lit, and no reading has changed.
class blind_monitor {
 public:
  /// After each walk over the channels.
  void look(bool any_lit, bool any_changed, bool amplifier_lit, time_point now);
  /// At most as long as the slowest monitor's pass.
  bool may_be_blind(time_point now) const;

 private:
  bool in_doubt_ = true;
  std::optional<time_point> since_;
};

/// Whether a read-back is as close to the written value as a coarse switch can get.
bool is_near(float attenuation, float target);

/// Light that has just come on keeps rising for a while: an opening step would respond to part of
/// it and carry the channel beyond its target. It waits until the error that the step would leave
/// is more than the rise shown by the last monitor pass, which is never followed by a steeper one;
/// for at most 30 s.
class rising_light {
 public:
  void look(bool lit, const channel_view& view);
  /// `left_over`: the error that would remain after the step, dB.
  bool may_overtake(const channel_view& view, float left_over) const;

 private:
  bool lit_ = false;
  bool steady_ = true;
  std::optional<float> rise_;  ///< in the last pass, dB; empty with the first reading
  time_point lit_at_{};
  float power_ = 0;
  time_point power_at_{};
};

/// The saturation of the amplifier after or before the switch, as relevant for an opening step.
class amplifier_saturation {
 public:
  /// dB, with each reading.
  void look(float saturation, time_point now);
  /// In saturation now, or since a reading of the light that was taken during saturation.
  bool forbids_opening(time_point power_at) const;
  bool is_saturated() const { return saturated_; }
  /// When it last hid an effect; the beginning of time if never.
  time_point last_seen() const { return last_seen_; }
  /// In saturation for this long; zero while it is not.
  std::chrono::nanoseconds lasting(time_point now) const;

 private:
  bool saturated_ = false;
  time_point last_seen_{};
  time_point since_{};
  std::optional<time_point> ended_;
};

}  // namespace guards
