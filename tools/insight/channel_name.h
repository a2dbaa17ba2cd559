// Channels as people name them: 192.30 (THz), 1558.98 (nm), 19230000 (as on the tree), 7
// (orvakinet). Pure.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tools::insight {

struct channel_place {
  unsigned id = 0;         ///< in paths
  unsigned frequency = 0;  ///< centre, units of 10 MHz
};

/// "192.30", "192.075": at least two decimals, and as many as the frequency needs.
std::string thz_text(unsigned frequency);

/// The one of `known` that is meant; empty if none is within 12.5 GHz. The word may include a unit,
/// "192.3THz", "1558.98nm".
std::optional<channel_place> find_channel(const std::string& word,
                                          const std::vector<channel_place>& known);

}  // namespace tools::insight
