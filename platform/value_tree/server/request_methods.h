// The effect of each method on a tree. Included only by the request handler.
#pragma once

#include <rapidjson/document.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value_tree/server/request_handler.h"
#include "platform/wire/limits.h"
#include "platform/wire/nx_error.h"

class nx_db_leaf_node;

namespace nx {

struct request_handler::request {
  const method* asked = nullptr;
  std::string path;
  const json_value* params = nullptr;
  effort takes = effort::at_once;
  bool is_pattern = false;
  std::vector<std::shared_ptr<nx_db_leaf_node>> nodes;  // that match the path

  /// The node of an exact path; throws nx_error -2.
  nx_db_leaf_node& node() const;
  /// A member of the params; throws nx_error -32602.
  const json_value& param(const char* name) const;
};

/// One request in progress: where results go.
struct request_call {
  nx_db& db;
  subscription_port* subscriptions;
  json_allocator& allocator;
  json_value& result;

  /// A result in memory takes no more than a few times the size of its text.
  static constexpr std::size_t most_bytes = 4 * limits::output_bytes_per_session;

  /// Called now and then while a large result grows. Throws answer_too_long if it is that already,
  /// and nx_error if nobody is there any more to receive it.
  void check() const;
};

/// The answer is refused, and what the request has done is undone.
struct answer_too_long {};

nx_error client_gone_error();

struct request_handler::method {
  std::string_view name;
  void (*execute)(const request& asked, const request_call& call);
  // Alternative: writes the text of the result.
  void (*append)(const request& asked, const request_call& call, std::string& out) = nullptr;
  bool writes = false;         // refused for read-only sessions; may block if a node's write may
  bool subscribes = false;     // undone if its answer is refused
  bool lists = false;          // large if recursive
  bool takes_pattern = false;  // otherwise a star is a character of the path
  bool reads_value = false;    // may block if a node's read may
};

struct request_handler::methods {
  // Limit for a pattern or a batch that is answered on the I/O thread: well under a millisecond.
  static constexpr std::size_t few_nodes = 512;
  static constexpr std::size_t few_messages = 512;

  /// Throws nx_error -32601.
  static const method& find(std::string_view name);

  static void get(const request& asked, const request_call& call, std::string& out);
  static void set(const request& asked, const request_call& call);
  static void run(const request& asked, const request_call& call);
  static void reset(const request& asked, const request_call& call);
  static void subscribe(const request& asked, const request_call& call, std::string& out);
  static void unsubscribe(const request& asked, const request_call& call);
  static void info(const request& asked, const request_call& call);
  static void list(const request& asked, const request_call& call);
  static void history(const request& asked, const request_call& call);
};

}  // namespace nx
