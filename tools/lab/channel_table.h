// The channels as a table: frequency, power against its target with the attenuator's remaining
// range, error, attenuation, truth, state and reason. Pure.
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
  double headroom_up = 0.0, headroom_down = 0.0;  ///< dB that the attenuator can add and take away
};

/// A scale of this many characters from -25 to 10 dBm: full up to the power with the attenuator
/// fully closed, hatched up to the present power, faint up to the power with it fully open, and a
/// mark at the target.
std::string power_bar(const bar_figures& of, unsigned columns, bool unicode);

}  // namespace tools::lab
