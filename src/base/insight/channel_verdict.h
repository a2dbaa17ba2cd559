// The result of one look of a client loop at one channel, and the reason: filled in by the deciding
// phase, from the numbers that it decides on. Plain data; the loop's thread writes it with the
// plan's mutex held, and passes on a copy at the end of its walk.
//
// Powers in dBm on the amplifier's scale, differences and attenuations in dB, times in s. A figure
// that this look did not produce is `no_figure`, never a plausible value.
#pragma once

#include <chrono>
#include <cmath>
#include <limits>
#include <string>

#include "states/channel_state.h"

namespace insight {

using time_point = std::chrono::steady_clock::time_point;

/// Why a channel is left as it is, or what was done to it. Each belongs to one state.
enum class channel_reason : unsigned char {
  not_looked_at,        ///< since the start, or since it was added
  no_light,             ///< parked, or on the way to its default attenuation
  no_light_left_alone,  ///< on models that do not park
  parking_beyond_range,
  doubtful_darkness,  ///< the instruments report nonsense
  blind_monitor,  ///< the amplifier sees light, but the monitor has not measured since its start
  blocked,
  unblocked,  ///< in this cycle
  held_at_default,
  node_leaves_alone,  ///< its automation mode
  mode_not_set,
  mode_leaves_alone,
  on_target,
  in_dead_band,
  as_near_as_the_switch,  ///< the step would be zero
  others_turn,
  stepped,
  reading_repeats,      ///< the monitor still shows the reading that the last step answered
  attenuation_repeats,  ///< the switch still shows the attenuation from before the last step
  switch_not_moved,
  reading_before_move,
  step_not_in_light,
  monitor_not_live,
  light_rises,
  fully_open,
  at_its_end,
  amplifier_saturated,
  reading_of_saturation,
  reading_unknown,
  device_failed,
  loop_down,
  count
};

states::channel_state state_of(channel_reason reason);

inline constexpr float no_figure = std::numeric_limits<float>::quiet_NaN();
inline bool is_figure(float value) {
  return std::isfinite(value);
}

struct channel_verdict {
  channel_reason reason = channel_reason::not_looked_at;
  time_point at{};
  bool lit = false;
  bool is_settled = false;  ///< inside its dead band, with the effect of every step in
  bool is_on_target = false;
  float target = no_figure;
  float wish = no_figure;      ///< the target before it is lowered for the amplifier's saturation
  float fibre_km = no_figure;  ///< length for whose tilt the target makes up
  float measured = no_figure;
  float error = no_figure;  ///< positive: too much light
  float dead_band = no_figure;
  float attenuation = no_figure;  ///< where the channel is
  float headroom_up = no_figure;
  float headroom_down = no_figure;
  float age = no_figure;  ///< of the monitor's reading
  float step = 0;         ///< change of attenuation written in this look
  std::string failure{};  ///< message of a device or the loop; empty in all other cases

  states::channel_state state() const { return state_of(reason); }
};

}  // namespace insight
