#include "api/attach.h"

#include "platform/value_tree/nx_db.h"

namespace nx::api {

std::string node_name(const std::string& path) {
  return nx_db::split_path(path).first;
}

std::shared_ptr<nx_db_leaf_node> attach(nx_db& db, const std::string& path, nx_db_leaf_node* node) {
  std::shared_ptr<nx_db_leaf_node> owned(node);
  db.add_node(nx_db::split_path(path).second, owned);
  return owned;
}

}  // namespace nx::api
