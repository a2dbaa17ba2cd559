// The JSON of the channel commands: one channel, or an array of channels as a plan.
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

/// Empty if the text is not an object with an integer "center_frequency".
std::optional<channel_request> read_channel(const std::string& text);
/// Empty if the text is not an array of such objects.
std::optional<std::vector<channel_request>> read_channels(const std::string& text);

}  // namespace sim
