#include "api/attach.h"

#include "platform/value_tree/nx_db.h"

namespace nx::api {

std::string node_name(const std::string& path) {
  return nx_db::split_path(path).first;
}

void attach(nx_db& db, const std::string& path, std::shared_ptr<nx_db_leaf_node> node) {
  db.add_node(nx_db::split_path(path).second, std::move(node));
}

}  // namespace nx::api
