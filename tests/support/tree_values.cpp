#include "tests/support/tree_values.h"

#include <rapidjson/document.h>

#include <mutex>
#include <stdexcept>

#include "platform/value_tree/nx_db.h"
#include "tests/support/failure.h"

namespace test {

namespace {

std::shared_ptr<nx_db_leaf_node> node_at(nx_db& tree, const std::string& path) {
  auto node = tree.find(path);
  if (!node) throw std::runtime_error("no such path: " + path);
  return node;
}

nx::json_document member(const nx::json_document& object, const std::string& path) {
  nx::json_document value;
  value.CopyFrom(object[path.c_str()], value.GetAllocator());
  return value;
}

}  // namespace

nx::json_document value_of(nx_db& tree, const std::string& path) {
  nx::json_document result(rapidjson::kObjectType);
  node_at(tree, path)->get(path, result.GetAllocator(), result);
  return member(result, path);
}

double number_of(nx_db& tree, const std::string& path) {
  return value_of(tree, path).GetDouble();
}

std::string text_of(nx_db& tree, const std::string& path) {
  return nx::from_json<std::string>(value_of(tree, path));
}

bool flag_of(nx_db& tree, const std::string& path) {
  return nx::from_json<bool>(value_of(tree, path));
}

void write_to(nx_db& tree, const std::string& path, const std::string& json) {
  node_at(tree, path)->set(path, nx::parse_json(json));
}

std::string run_at(nx_db& tree, const std::string& path, const std::string& json) {
  nx::json_document result(rapidjson::kObjectType);
  node_at(tree, path)->run(path, nx::parse_json(json), result.GetAllocator(), result);
  return nx::json_text(member(result, path));
}

std::string shown_at(nx_db& tree, const std::string& path) {
  std::string shown;
  const auto failure = failure_of([&] { shown = nx::json_text(value_of(tree, path)); });
  return failure.empty() ? shown : failure;
}

std::string subscribe_to(nx_db& tree, const std::string& path,
                         const std::shared_ptr<nx_session>& session) {
  std::string shown;
  const auto failure = failure_of([&] {
    std::recursive_mutex mutex;
    std::unique_lock lock(mutex);
    nx::json_document result(rapidjson::kObjectType);
    tree.subscribe(session, tree.node_at(path), result.GetAllocator(), result, lock);
    shown = nx::json_text(member(result, path));
  });
  return failure.empty() ? shown : failure;
}

}  // namespace test
