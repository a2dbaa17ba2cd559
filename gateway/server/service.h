// What all connections of a listener share: the router, the limits, and how much of them is used.
// On the gateway's thread.
#pragma once

#include <cstddef>
#include <set>

#include "gateway/http/router.h"
#include "gateway/settings.h"

namespace gateway {

class open_connection {
 public:
  virtual ~open_connection() = default;
  virtual void close() = 0;
};

struct service {
  const settings& bounds;
  const router& routes;
  std::set<open_connection*> connections;
  std::size_t refusals = 0;      ///< connections that are told that there are too many
  std::size_t streams = 0;       ///< event streams among the connections
  std::size_t answer_bytes = 0;  ///< of answers that are being written
};

}  // namespace gateway
