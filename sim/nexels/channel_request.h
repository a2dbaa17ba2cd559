// The JSON of the channel commands: one channel, or a plan as an array of them.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace sim {

struct channel_request {
  unsigned centre = 0;  ///< units of 10 MHz
  unsigned width = 0;
  unsigned port = 0;
};

/// None when the text is no object with an integer "center_frequency".
std::optional<channel_request> read_channel(const std::string& text);
/// None when the text is no array of such objects.
std::optional<std::vector<channel_request>> read_channels(const std::string& text);

}  // namespace sim
