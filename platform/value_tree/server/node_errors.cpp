#include "platform/value_tree/server/node_errors.h"

#include "platform/wire/failure.h"

namespace nx {

nx_error current_node_error() {
  const auto found = current_failure();
  if (found.from != failure::kind::device) return found.as_error();
  // A setter whose device failed: the client wants to know which one and why.
  return {nx_error::foreign,
          found.path.empty() ? found.message : found.message + ": " + found.path};
}

}  // namespace nx
