// What each method does with a tree. Included by the request handler alone.
#pragma once

#include <rapidjson/document.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value_tree/server/request_handler.h"

class nx_db_leaf_node;

namespace nx {

struct request_handler::request {
  const method* asked = nullptr;
  std::string path;
  const json_value* params = nullptr;
  bool is_pattern = false;
  std::vector<std::shared_ptr<nx_db_leaf_node>> nodes;  // that the path fits

  /// The node of an exact path; throws nx_error -2.
  nx_db_leaf_node& node() const;
  /// A member of the params; throws nx_error -32602.
  const json_value& param(const char* name) const;
};

/// One request on its way: where results go.
struct request_call {
  nx_db& db;
  subscription_port* subscriptions;
  json_allocator& allocator;
  json_value& result;
};

struct request_handler::method {
  std::string_view name;
  void (*execute)(const request& asked, const request_call& call);
  bool writes = false;         // refused to read-only sessions, and may wait
  bool takes_pattern = false;  // else a star is a character of the path
  bool reads_value = false;    // may wait when a node's read may
};

struct request_handler::methods {
  /// Throws nx_error -32601.
  static const method& find(std::string_view name);

  static void get(const request& asked, const request_call& call);
  static void set(const request& asked, const request_call& call);
  static void run(const request& asked, const request_call& call);
  static void reset(const request& asked, const request_call& call);
  static void subscribe(const request& asked, const request_call& call);
  static void unsubscribe(const request& asked, const request_call& call);
  static void info(const request& asked, const request_call& call);
  static void list(const request& asked, const request_call& call);
  static void history(const request& asked, const request_call& call);
};

}  // namespace nx
