// Guards on the front panel: when a channel that has not reported its state stops holding back the
// LEDs of all others. Pure; called on the LED thread.
#pragma once

#include <chrono>

#include "helpers/guard_register.h"

namespace guards {

inline constexpr helpers::guard_kind panel_unknown_channel{"panel-unknown-channel"};

/// A loop that is set up reports all its channels in its first cycle. One that has not done so
/// after this time is down, perhaps for long.
inline constexpr std::chrono::seconds panel_patience{10};

/// `unknown_for`: how long some channel has not reported its state, without interruption.
constexpr bool panel_waits_for_channels(bool all_known, std::chrono::nanoseconds unknown_for) {
  return !all_known && unknown_for < panel_patience;
}

}  // namespace guards
