// A float that a getter returned is published only if it is finite.
#pragma once

#include <utility>

#include "helpers/finite.h"
#include "platform/value_tree/nx_db_node.h"

namespace nx::api {

/// Throws nx_error -61 with the node's path in the text.
template <class T>
T checked_reading(T value, const nx_db_node& node) {
  if (!helpers::is_finite(value)) {
    helpers::require_finite(value, "Value returned for path " + node.get_path(0));
  }
  return value;
}

}  // namespace nx::api
