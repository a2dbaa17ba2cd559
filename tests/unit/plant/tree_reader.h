// Reads and writes a tree by path, as a session would, without one.
#pragma once

#include <rapidjson/document.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "platform/value_tree/nx_db.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace test {

inline std::shared_ptr<nx_db_leaf_node> node_at(nx_db& tree, const std::string& path) {
  auto node = tree.find(path);
  if (!node) throw std::runtime_error("no such path: " + path);
  return node;
}

inline nx::json_document read(nx_db& tree, const std::string& path) {
  nx::json_document result(rapidjson::kObjectType);
  node_at(tree, path)->get(path, result.GetAllocator(), result);
  nx::json_document value;
  value.CopyFrom(result[path.c_str()], value.GetAllocator());
  return value;
}

inline double read_number(nx_db& tree, const std::string& path) {
  return read(tree, path).GetDouble();
}

inline std::string read_text(nx_db& tree, const std::string& path) {
  return nx::from_json<std::string>(read(tree, path));
}

inline void write(nx_db& tree, const std::string& path, const std::string& json) {
  node_at(tree, path)->set(path, nx::parse_json(json));
}

inline std::string run(nx_db& tree, const std::string& path, const std::string& json) {
  nx::json_document result(rapidjson::kObjectType);
  node_at(tree, path)->run(path, nx::parse_json(json), result.GetAllocator(), result);
  return nx::json_text(result[path.c_str()]);
}

inline std::string refusal_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const nx_error& error) {
    return std::to_string(error.code) + " " + error.message;
  } catch (const json_value_conversion_error& error) {
    return std::string("expected ") + error.expected + ", found " + error.found;
  }
  return "accepted";
}

/// "PATH=VALUE" of every readable node.
inline std::string dump(nx_db& tree) {
  std::string text;
  for (const auto& node : tree.match("**")) {
    if (node->write_returns_response()) continue;
    const std::string path = node->get_path(0);
    text += path + "=" + nx::json_text(read(tree, path)) + "\n";
  }
  return text;
}

}  // namespace test
