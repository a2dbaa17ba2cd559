// From one message of the protocol to its answer, on a tree and with the rights of a session. Knows
// no sockets and no threads: the server calls it from its I/O thread and its workers, tests and
// fuzzers call it as it is.
#pragma once

#include <string>
#include <string_view>

#include "platform/wire/json.h"

class nx_db;

namespace nx {

enum class access { full, read_only };

/// The subscriptions of the session that asks. Both throw nx_error.
class subscription_port {
 public:
  virtual ~subscription_port() = default;

  /// Adds the present value of each path that fits `path` to `result`.
  virtual void subscribe(const std::string& path, json_allocator& allocator,
                         json_value& result) = 0;
  virtual void unsubscribe(const std::string& path) = 0;
};

struct plain_get;

class request_handler {
 public:
  /// Without `subscriptions` no path can be subscribed.
  request_handler(nx_db& db, access rights, subscription_port* subscriptions)
      : db_(db), rights_(rights), subscriptions_(subscriptions) {}

  /// The answer to a line, without a line end; empty when nothing is to be answered.
  std::string answer(std::string_view line) const;

  /// The same unless the request may have to wait (a write, a command, a read that waits for a
  /// device): then nothing is done and the result is false.
  bool answer_at_once(std::string_view line, std::string& out) const;

 private:
  struct request;
  struct method;
  struct methods;

  bool answer_line(std::string_view line, bool may_wait, std::string& out) const;
  // A message is a JSON value, or a get in its plain form.
  template <class Messages>
  bool answer_batch(const Messages& batch, bool may_wait, json_allocator& allocator,
                    std::string& out) const;
  bool answer_message(const json_value& message, bool may_wait, json_allocator& allocator,
                      std::string& out) const;
  bool answer_message(const plain_get& message, bool may_wait, json_allocator& allocator,
                      std::string& out) const;
  template <class Message>
  bool answer_one(const Message& message, const json_value* id, bool may_wait,
                  json_allocator& allocator, std::string& out) const;
  request prepare(const json_value& message) const;
  request prepare(const plain_get& message) const;
  template <class Message>
  bool message_may_wait(const Message& message) const;
  bool may_wait(const request& asked) const;
  void execute(const request& asked, json_allocator& allocator, json_value& result) const;

  nx_db& db_;
  access rights_;
  subscription_port* subscriptions_;
};

}  // namespace nx
