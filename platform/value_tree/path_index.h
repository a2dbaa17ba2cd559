// The levels of a tree, for lists and patterns; exact paths are found in a separate hash map. No
// lock of its own.
#pragma once

#include <boost/container/flat_map.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class nx_db_leaf_node;

namespace nx {

class path_index {
 public:
  using node_pointer = std::shared_ptr<nx_db_leaf_node>;

  /// Sets or replaces the node of a path. Throws nx_error -22 if the path is already a level, or a
  /// node is above it.
  void set(std::string_view path, node_pointer node);
  /// Removes the node and the levels that become empty.
  void erase(std::string_view path);

  /// Nodes that match a pattern, in order of their paths.
  std::vector<node_pointer> match(std::string_view pattern) const;

  struct level;
  /// Null if there is no such level; "" is the root.
  const level* find_level(std::string_view path) const;

  // A level's key ends in '/', a node's does not: keys are then what a list shows, and their order
  // is the order of the full paths.
  struct child {
    node_pointer node;
    std::unique_ptr<level> below;
  };
  struct level {
    // Contiguous, since patterns walk over all of it.
    boost::container::flat_map<std::string, child, std::less<>> children;
  };

 private:
  level root_;
};

}  // namespace nx
