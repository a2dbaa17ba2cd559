// The guards over one channel's steps: a step needs evidence of the step before it, light that
// stands still, and an amplifier that can follow. Pure functions and small values: readings, ages
// and time are handed in, no device, no clock, no log. The laws of the step itself are in
// channel/control/regulation.h.
//
// Called on the loop's thread with the plan's mutex held. Powers dBm, attenuations dB.
#pragma once

#include <chrono>
#include <optional>

#include "helpers/guard_register.h"

namespace guards {

using time_point = std::chrono::steady_clock::time_point;

/// No step on a reading that may be of before the last one, or of before the monitor's start.
inline constexpr helpers::guard_kind fresh_reading{"fresh-reading", 1};
/// No step on a reading that the monitor or the switch has just told nonsense in place of.
inline constexpr helpers::guard_kind known_reading{"known-reading"};
/// No opening while a client's light still rises.
inline constexpr helpers::guard_kind steady_light{"steady-light", 1};
/// No opening into an amplifier that is more than 1 dB in saturation.
inline constexpr helpers::guard_kind unsaturated_amplifier{"unsaturated-amplifier"};
/// No second write of what an attenuator already shows.
inline constexpr helpers::guard_kind end_of_range{"end-of-range"};
/// No parking at a default attenuation that would open further than the switch goes.
inline constexpr helpers::guard_kind parking_range{"parking-range"};

/// What is known of a channel when a step is judged.
struct channel_view {
  time_point now{};
  float attenuation = 0;        ///< as the switch reads it back
  time_point attenuation_at{};  ///< when that reading came
  float power = 0;
  time_point power_at{};
  /// When the amplifier was last seen in saturation, which hides what a step does to the light.
  time_point saturated_at{};
};

/// Why a step waits; `none` lets it go.
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
  /// A step from `from`, where the channel stood, to `target` was written by what `view` shows.
  void made(float from, float target, const channel_view& view);
  void forget();

  /// To be called with each look at the channel.
  void look(const channel_view& view);

  wait_for waits_for(const channel_view& view) const;
  /// The time in which the switch had to move is over: the channel is judged from where it stands.
  bool has_expired(const channel_view& view) const;
  /// Where it stands: the read-back, or the target where the light has followed a step that the
  /// read-back does not show.
  float standing_attenuation(const channel_view& view) const;
  /// `target` was written already and is where the switch stands as far as it can tell, or a step
  /// so small that this switch, asked twice, did not resolve it.
  bool is_futile(const channel_view& view, float target) const;

 private:
  struct step {
    float from;
    float target;
    float read_back;  ///< then
    float power;      ///< the reading that it answered
    time_point at;
    unsigned futile_tries;
    float shown;  ///< the read-back when it last moved
    time_point shown_at;
    std::optional<time_point> moved_at;
    bool followed;        ///< the light has shown the step, the read-back not
    bool shown_in_light;  ///< its effect was seen once: what comes later is not of this step
  };

  void look_for_movement(const channel_view& view);
  bool shows_in(const channel_view& view) const;
  float missing_effect(const channel_view& view, float expected, float share) const;
  bool light_followed(const channel_view& view) const;

  std::optional<step> step_;
};

/// Whether the monitor's readings of a channel are of this light: the first value of a subscription
/// is as old as the nexel's last look, and after a restart may be of before it.
class live_reading {
 public:
  /// Counts of the present subscription, as device::reading has them.
  void look(unsigned arrivals, unsigned changes, time_point now);
  /// It has changed since, or stood for 22 s: light without noise under a monitor without.
  bool is_live(time_point now) const;

 private:
  bool has_value_ = false;
  bool has_changed_ = false;
  time_point since_{};
};

/// Whether a monitor that tells of a dark band may just not have measured yet since its start: the
/// amplifier sees light, no channel is told to be lit, and no reading has changed.
class blind_monitor {
 public:
  /// After each walk over the channels.
  void look(bool any_lit, bool any_changed, bool amplifier_lit, time_point now);
  /// For the slowest monitor's pass at the most.
  bool may_be_blind(time_point now) const;

 private:
  bool in_doubt_ = true;
  std::optional<time_point> since_;
};

/// Whether a read-back is as near to what was written as a coarse switch can come.
bool is_near(float attenuation, float target);

/// Light that has just come on still rises for a while: a step that opens would answer a part of
/// it and carry the channel beyond its target. It waits until what the step leaves of the error is
/// more than the last monitor pass has shown of a rise, which is never followed by a steeper one;
/// for 30 s at the most.
class rising_light {
 public:
  void look(bool lit, const channel_view& view);
  /// `left_over`: what the step would leave of the error, dB.
  bool may_overtake(const channel_view& view, float left_over) const;

 private:
  bool lit_ = false;
  bool steady_ = true;
  std::optional<float> rise_;  ///< of the last pass, dB; empty with the first reading
  time_point lit_at_{};
  float power_ = 0;
  time_point power_at_{};
};

/// The saturation of the amplifier behind or in front of the switch, as an opening step sees it.
class amplifier_saturation {
 public:
  /// dB, with each reading.
  void look(float saturation, time_point now);
  /// Saturated now, or since a reading of the light that was taken when it was.
  bool forbids_opening(time_point power_at) const;
  bool is_saturated() const { return saturated_; }
  /// When an effect was last hidden by it; the beginning of time if never.
  time_point last_seen() const { return last_seen_; }
  /// Saturated for this long; zero while it is not.
  std::chrono::nanoseconds lasting(time_point now) const;

 private:
  bool saturated_ = false;
  time_point last_seen_{};
  time_point since_{};
  std::optional<time_point> ended_;
};

}  // namespace guards
