// State shared by all connections of a listener: the router, the limits, and their present use. On
// the gateway's thread.
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
  std::size_t refusals = 0;      ///< connections that get the answer that there are too many
  std::size_t streams = 0;       ///< event streams among the connections
  std::size_t answer_bytes = 0;  ///< of answers being written
};

}  // namespace gateway
