// The requests of the two channel commands, taken apart and checked, and the texts about channels
// that the manager publishes. No device, no plan. Frequencies and widths in units of 10 MHz.
#pragma once

#include <set>
#include <string>

#include "platform/wire/json.h"

namespace manager {

struct channel_directions {
  bool rx = false;
  bool tx = false;
};

struct add_request {
  unsigned center = 0;
  unsigned width = 0;  ///< as it came: the client loop knows its band
  unsigned port = 0;
  channel_directions directions;
};

struct remove_request {
  unsigned center = 0;
  channel_directions directions;
};

// Throw nx_error -22 with the text of the command: first for what is missing or of another type,
// which is logged before, then for what is out of its limits, the direction last. A JSON array has
// no members.
add_request read_add_request(const nx::json_document& document);
remove_request read_remove_request(const nx::json_document& document);

/// "[19210000,19220000]"; "[]" without channels.
std::string channel_index_text(const std::set<unsigned>& identifiers);

/// Percent of the band in use, with one decimal.
float band_utilization(float used_ghz, float slice_width_ghz, unsigned slice_count);

}  // namespace manager
