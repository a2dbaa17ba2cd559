// The loss of a span as the difference of two powers of which each was measured: a failed read is
// not darkness, and a loss made of one counts for nothing.
//
// Pure functions; they throw nothing. Powers dBm, losses dB.
#pragma once

#include <optional>

#include "helpers/guard_register.h"

namespace guards {

inline constexpr helpers::guard_kind line_known{"line-known"};

/// A power of light on the line; empty for what its taps show in the dark or out of service.
std::optional<float> lit_power(float reading);
/// The same of the supervisory channel: its optics see -40 dBm at best and tell their floor in the
/// dark.
std::optional<float> lit_osc_power(float reading);

/// The power of one channel behind an amplifier: a reading and a calibration of which each can be
/// may add up to what cannot.
bool is_channel_power(float calibrated);

/// Empty unless both are known, and for a far end that gets clearly more than was sent: the two
/// readings do not belong together.
std::optional<float> span_between(std::optional<float> sent, std::optional<float> received);

}  // namespace guards
