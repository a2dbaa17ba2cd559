// For a node that remembers more than the tree does, or whose values should not be formatted unless
// somebody asks: it provides its history itself, on request.
//
// Called on the server's threads, without any lock of the tree.
#pragma once

#include <vector>

#include "platform/value_tree/nx_db.h"

namespace nx {

class own_history {
 public:
  virtual ~own_history() = default;
  /// Oldest first; the values are JSON texts.
  virtual std::vector<nx_db::history_entry> history() const = 0;
};

}  // namespace nx
