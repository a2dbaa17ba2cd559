// The requests of the two channel commands, taken apart and checked, and the texts about channels
// that the manager publishes. No device, no plan. Frequencies and widths in units of 10 MHz.
#pragma once

#include <optional>
#include <set>
#include <string>

#include "platform/wire/json.h"

namespace manager {

/// Members of a request as they came: empty where a member is missing or of another type. A JSON
/// array has no members.
struct channel_request {
  std::optional<int> center;
  std::optional<int> width;
  std::optional<int> port;
  std::optional<std::string> direction;
};

channel_request read_channel_request(const nx::json_document& document);

/// The directions that a request means.
struct request_directions {
  bool rx = false;
  bool tx = false;
};

// Each throws nx_error -22 with the text of its command; structure errors are logged before.
void check_add_structure(const channel_request& request);
void check_add_limits(const channel_request& request);
request_directions add_directions(const channel_request& request);

void check_remove_structure(const channel_request& request);
void check_remove_limits(const channel_request& request);
request_directions remove_directions(const channel_request& request);

/// "[19210000,19220000]"; "[]" without channels.
std::string channel_index_text(const std::set<unsigned>& identifiers);

/// Percent of the band in use, with one decimal.
float band_utilization(float used_ghz, float slice_width_ghz, unsigned slice_count);

}  // namespace manager
