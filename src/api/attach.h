// Creation of nodes: every kind of value is made and attached in the same steps.
#pragma once

#include <memory>
#include <string>
#include <utility>

class nx_db;
class nx_db_leaf_node;

namespace nx::api {

/// The last segment of the path: the node's own name.
std::string node_name(const std::string& path);

/// Attaches the node below the path's parent. Throws nx_error -22 if the path cannot hold it; the
/// node is then destroyed. Takes the node as a pointer to its base, so that all kinds of node share
/// the code of one pointer type.
std::shared_ptr<nx_db_leaf_node> attach(nx_db& db, const std::string& path, nx_db_leaf_node* node);

template <class Node, class... Arguments>
std::shared_ptr<Node> create_node(nx_db& db, const std::string& path, Arguments&&... arguments) {
  return std::static_pointer_cast<Node>(
      attach(db, path, new Node(node_name(path), std::forward<Arguments>(arguments)...)));
}

}  // namespace nx::api
