// What of the neighbour cannot be read: values that a connected peer has and reports as errors,
// because one of its own devices fails. By the part of the peer that they come from, with what that
// means for this node, for "insight/peer". Pure.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "platform/wire/json.h"

namespace insight {

/// By the device that the peer reads them from.
enum class peer_part : unsigned char { preamp, sender, transceiver, supervisor, spans, count };

/// As people call it: "preamp", "booster or VOA".
const char* name_of(peer_part part);
/// What goes on meanwhile and what does not.
const char* meanwhile(peer_part part);

struct peer_gap {
  peer_part part;
  std::chrono::system_clock::time_point since;
  std::vector<std::string> paths;  ///< on the peer's tree

  bool operator==(const peer_gap&) const = default;
};

struct peer_view {
  std::string product;         ///< empty without a peer
  std::vector<peer_gap> gaps;  ///< in the order of the parts

  bool operator==(const peer_view&) const = default;
};

/// {"product", "unreadable": [{"part", "since", "values": [paths], "meanwhile"}]}
nx::json_document peer_json(const peer_view& view);

/// "ORVA-LITE", "ORVA-LITE (its preamp cannot be read)"
std::string peer_brief(const peer_view& view);

}  // namespace insight
