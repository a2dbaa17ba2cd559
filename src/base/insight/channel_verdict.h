// What one look of a client loop at one channel came to, and why: filled in by the phase that
// decides, from the numbers that it decides on. Plain data; the loop's thread writes it with the
// plan's mutex held, and hands a copy over at the end of its walk.
//
// Powers dBm on the amplifier's scale, differences and attenuations dB, times s. A figure that this
// look did not come to is `no_figure`, and never one that only looks like it.
#pragma once

#include <chrono>
#include <cmath>
#include <limits>
#include <string>

#include "states/channel_state.h"

namespace insight {

using time_point = std::chrono::steady_clock::time_point;

/// Why a channel is left as it is, or what was done to it. Each stands for one state.
enum class channel_reason : unsigned char {
  not_looked_at,        ///< since the start, or since it was added
  no_light,             ///< parked, or on its way to the default attenuation
  no_light_left_alone,  ///< where the model parks nothing
  parking_beyond_range,
  doubtful_darkness,  ///< the instruments tell nonsense
  blind_monitor,  ///< the amplifier sees light, and the monitor has not measured since its start
  blocked,
  unblocked,  ///< in this cycle
  held_at_default,
  node_leaves_alone,  ///< its automation mode
  mode_not_set,
  mode_leaves_alone,
  on_target,
  in_dead_band,
  as_near_as_the_switch,  ///< the step would be none
  others_turn,
  stepped,
  reading_repeats,      ///< the monitor tells what the last step answered
  attenuation_repeats,  ///< the switch shows what it showed at the last step
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
  bool is_settled = false;  ///< in its dead band, and no step's effect is still to come
  bool is_on_target = false;
  float target = no_figure;
  float wish = no_figure;  ///< the target before the amplifier's saturation takes its share
  float measured = no_figure;
  float error = no_figure;  ///< above 0: too much light
  float dead_band = no_figure;
  float attenuation = no_figure;  ///< where the channel stands
  float headroom_up = no_figure;
  float headroom_down = no_figure;
  float age = no_figure;  ///< of the monitor's reading
  float step = 0;         ///< change of attenuation written in this look
  std::string failure{};  ///< what a device or the loop has said; empty in all other cases

  states::channel_state state() const { return state_of(reason); }
};

}  // namespace insight
