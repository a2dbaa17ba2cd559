// The target of a request, "/path?name=value", parsed and decoded; as a proxy would send it, also
// with scheme and host in front. Pure; throws nothing.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace gateway {

struct target {
  std::string host;  ///< in lower case; empty if the target does not name one
  std::string path;
  std::multimap<std::string, std::string> query;  ///< in the order of the text for equal names
};

/// Empty if it is neither a path nor an address of HTTP, or contains an invalid escape or a control
/// character.
std::optional<target> parse_target(std::string_view text);

}  // namespace gateway
