// The requests of the two channel commands, parsed and checked, and the texts about channels that
// the manager publishes. Uses no device and no plan. Frequencies and widths in units of 10 MHz.
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
  unsigned width = 0;  ///< as sent: the client loop knows its band
  unsigned port = 0;
  channel_directions directions;
};

struct remove_request {
  unsigned center = 0;
  channel_directions directions;
};

// These throw nx_error -22 with the text of the command: first for members that are missing or of
// the wrong type, which is also logged, then for values out of range, the direction last. A JSON
// array has no members.
add_request read_add_request(const nx::json_document& document);
remove_request read_remove_request(const nx::json_document& document);

/// "[19210000,19220000]"; "[]" without channels.
std::string channel_index_text(const std::set<unsigned>& identifiers);

/// Percent of the band in use, with one decimal.
float band_utilization(float used_ghz, float slice_width_ghz, unsigned slice_count);

}  // namespace manager
