// A channel's state in words: one sentence with figures, and why a figure has no meaning at
// present. Pure functions, called when somebody reads.
#pragma once

#include <string>

#include "base/insight/channel_verdict.h"

namespace insight {

/// What a sentence needs besides the verdict.
struct channel_history {
  unsigned steps = 0;            ///< on the present way to the target
  float since_step = no_figure;  ///< s from the last step to the verdict
  bool is_rx = true;
};

/// "3.1 dB too strong; one step made, waiting for the switch to move (0.4 s)".
std::string why(const channel_verdict& verdict, const channel_history& history);

/// Why a figure is missing: "no light from the client".
std::string absence(const channel_verdict& verdict, const channel_history& history);

/// "191.70", "192.075": a centre frequency, given in units of 10 MHz, in THz.
std::string thz(unsigned frequency);

}  // namespace insight
