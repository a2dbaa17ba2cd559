// The process that serves a tree of 3,000 floats with the daemon's own server and kinds of value,
// and publishes from a loop's thread on request.
#pragma once

#include <string>

#include "bench/socket_pair.h"

namespace bench {

/// The path of a value; `channel` counts to `together`, `kind` to 10.
std::string value_path(unsigned channel, unsigned kind);
/// All values of the first kind.
constexpr const char* value_pattern = "data/client/*/rx/attenuation";

/// A parameter that clients may write.
constexpr const char* parameter_path = "config/client/rx/attenuation";

/// Serves forever. With `hung_device`, a loop reads from a device there that never answers.
[[noreturn]] void serve_tree(const std::string& path, const socket& triggers,
                             const std::string& hung_device);

}  // namespace bench
