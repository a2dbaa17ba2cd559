// The channels as a table: frequency, power against its target with what the attenuator could still
// do, error, attenuation, truth, state and why. Pure.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/text_layout.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

std::string table_title(unsigned columns);
std::string table_row(const channel_row& row, unsigned columns, look how);

struct bar_figures {
  double power = 0.0, target = 0.0;               ///< dBm
  double headroom_up = 0.0, headroom_down = 0.0;  ///< dB that the attenuator can give and take
};

/// A scale of so many characters from -25 to 10 dBm: full as far as the light goes with the
/// attenuator at its end, hatched as far as it goes now, faint as far as it could go, with the
/// target's place marked.
std::string power_bar(const bar_figures& of, unsigned columns, bool unicode);

}  // namespace tools::lab
