// The loss of a span as the difference of two powers that were both measured: a failed read is not
// darkness, and a loss calculated from one does not count.
//
// Pure functions; they throw nothing. Powers in dBm, losses in dB.
#pragma once

#include <optional>

#include "helpers/guard_register.h"

namespace guards {

inline constexpr helpers::guard_kind line_known{"line-known"};

/// A power of light on the line; empty for what its taps show in the dark or out of service.
std::optional<float> lit_power(float reading);
/// No light at all on the line: below the threshold of every amplifier, at what its tap shows
/// without light, or told as such. A reading that is no reading is not darkness.
bool is_dark_power(float reading);
/// The same of the supervisory channel: its optics see -40 dBm at best and tell their floor in the
/// dark.
std::optional<float> lit_osc_power(float reading);
bool is_dark_osc_power(float reading);

/// The power of one channel after an amplifier: a reading and a calibration may each be possible
/// while their sum is not.
bool is_channel_power(float calibrated);

/// Empty unless both are known, and if the far end receives clearly more than was sent: then the
/// two readings do not belong together.
std::optional<float> span_between(std::optional<float> sent, std::optional<float> received);

}  // namespace guards
