// The attenuation with which a line opens after a coldstart or a loss of light. It is calculated
// with the peer only from what the peer has reported since the link was down, over a connection
// that is up. With zeros that nobody measured, powers in the dark, or a result outside the
// attenuator's range, the line opens at the board's preset instead. The peer's opening then follows
// once, when the peer has been read.
//
// Pure functions; they throw nothing. Powers in dBm, losses in dB.
#pragma once

#include "helpers/guard_register.h"

namespace guards {

/// Active at each loss of the fibre and each coldstart, since the peer is away then.
inline constexpr helpers::guard_kind line_opening{"line-opening", 1};

/// A loss between two ends that both had light.
bool is_opening_loss(float osc_tx_power, float loss);

/// A possible attenuation: finite and within the attenuator's range.
bool is_within(float attenuation, float minimum, float maximum);

}  // namespace guards
