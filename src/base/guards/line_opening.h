// With which attenuation a line opens after a coldstart or a loss. Worked out with the peer only
// from what it has told since the link was down, over a connection that is up; zeros that nobody
// measured, powers of the dark and a result that the attenuator cannot have leave the board's
// preset in place. The peer's opening is then made up for once, when the peer has been read.
//
// Pure functions; they throw nothing. Powers dBm, losses dB.
#pragma once

#include "helpers/guard_register.h"

namespace guards {

/// Each loss of the fibre and each coldstart meet it, since the peer is away then.
inline constexpr helpers::guard_kind line_opening{"line-opening", 1};

/// A loss between two ends of which both were lit.
bool is_opening_loss(float osc_tx_power, float loss);

/// An attenuation that an attenuator can have: finite and within its range.
bool is_within(float attenuation, float minimum, float maximum);

}  // namespace guards
