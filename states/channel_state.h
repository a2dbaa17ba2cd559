// What one client channel of the node is doing, in one word, as published at
// `insight/client/ID/DIRECTION/state`. Decided by the phase of the loop that decides about the
// light.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "states/state_row.h"

namespace states {

enum class channel_state : unsigned char {
  dark,
  blocked,             ///< by the operator
  unmanaged,           ///< the node leaves its attenuation alone, or holds it at the default
  on_target,           ///< within 0.5 dB
  resting_off_target,  ///< further off, but inside the dead band or as close as the switch can
                       ///< resolve
  waiting_for_turn,    ///< due for a step; waits for a cycle in which it may write
  stepping,            ///< a step was written in this cycle
  waiting_for_monitor,
  waiting_for_switch,
  too_weak,    ///< exhausted: the attenuator is fully open
  too_strong,  ///< exhausted: the attenuator is fully closed
  amplifier_saturated,
  reading_unknown,
  device_failed,
  loop_down,
};

/// Indexed by the state.
std::span<const state_row> channel_states();
const state_row& row_of(channel_state state);
/// Empty if the table has no such text.
std::optional<channel_state> channel_state_of(std::string_view text);

}  // namespace states
