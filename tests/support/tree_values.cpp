#include "tests/support/tree_values.h"

#include <rapidjson/document.h>

#include <stdexcept>

#include "platform/value_tree/nx_db.h"
#include "platform/wire/json_conversion.h"

namespace test {

namespace {

std::shared_ptr<nx_db_leaf_node> node_at(nx_db& tree, const std::string& path) {
  auto node = tree.find(path);
  if (!node) throw std::runtime_error("no such path: " + path);
  return node;
}

template <class T>
T value_of(nx_db& tree, const std::string& path) {
  rapidjson::Document result(rapidjson::kObjectType);
  node_at(tree, path)->get(path, result.GetAllocator(), result);
  return nx::from_json<T>(result[path.c_str()]);
}

}  // namespace

float number_of(nx_db& tree, const std::string& path) {
  return value_of<float>(tree, path);
}

std::string text_of(nx_db& tree, const std::string& path) {
  return value_of<std::string>(tree, path);
}

bool flag_of(nx_db& tree, const std::string& path) {
  return value_of<bool>(tree, path);
}

void write_to(nx_db& tree, const std::string& path, const std::string& json) {
  node_at(tree, path)->set(path, nx::parse_json(json));
}

void run_at(nx_db& tree, const std::string& path, const std::string& json) {
  rapidjson::Document answer(rapidjson::kObjectType);
  node_at(tree, path)->run(path, nx::parse_json(json), answer.GetAllocator(), answer);
}

}  // namespace test
