// From a message of the protocol to its answer, on a tree and with the rights of a session.
// Independent of sockets and threads: the server calls it from its I/O thread and its workers,
// tests and fuzzers call it directly.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/wire/json.h"

class nx_db;

namespace nx {

enum class access { full, read_only };

/// What it takes to answer a line.
enum class effort {
  at_once,  ///< on the I/O thread
  waiting,  ///< may block on a device, as commands, some writes and some reads do
  heavy     ///< takes long: much of the tree, a large batch, a long line
};

/// The subscriptions of the requesting session. Both `subscribe` and `unsubscribe` throw nx_error.
class subscription_port {
 public:
  virtual ~subscription_port() = default;

  /// Appends the present value of each path that matches `path` to `members`, as the members of an
  /// object without its braces. Documents are made in `allocator`.
  virtual void subscribe(const std::string& path, json_allocator& allocator,
                         std::string& members) = 0;
  virtual void unsubscribe(const std::string& path) = 0;
  /// Undoes the last `subscribe`, whose answer is refused. Earlier subscriptions stay.
  virtual void take_back() {}
  /// Belonging to subscriptions whose answer has not been sent yet.
  virtual std::size_t first_event_bytes() const { return 0; }
  /// True once the client takes no more answers: its requests are then dropped.
  virtual bool is_gone() const { return false; }
};

struct plain_get;

class request_handler {
 public:
  /// Without `subscriptions` no path can be subscribed to.
  request_handler(nx_db& db, access rights, subscription_port* subscriptions)
      : db_(db), rights_(rights), subscriptions_(subscriptions) {}

  /// The answer to a line, without a line end; empty if there is none.
  std::string answer(std::string_view line) const;

  /// Appends the same to `out` if it takes no more than `allowed`; otherwise does nothing. Returns
  /// the size.
  effort answer_within(effort allowed, std::string_view line, std::string& out) const;

  access rights() const { return rights_; }

 private:
  struct request;
  struct method;
  struct methods;
  struct batch_room;

  // An id is the text of its JSON; empty for a message that wants no answer.
  using id_text = std::optional<std::string>;

  effort answer_messages(std::string_view line, effort allowed, json_allocator& allocator,
                         std::string& out) const;
  // Plain gets of values whose text is at hand. For any others it returns false and appends
  // nothing.
  bool answer_plain(const plain_get& get, std::string& out) const;
  bool answer_plain(const std::vector<plain_get>& gets, std::string& out) const;
  // A message is a JSON value, or a get in plain form.
  template <class Message>
  effort effort_of_batch(const std::vector<Message>& batch) const;
  template <class Message>
  effort answer_batch(const std::vector<Message>& batch, const std::vector<id_text>& ids,
                      effort allowed, json_allocator& allocator, std::string& out) const;
  template <class Message>
  effort answer_one(const Message& message, const id_text& id, effort allowed, batch_room* batch,
                    json_allocator& allocator, std::string& out) const;
  void execute(const request& asked, std::string_view id, json_allocator& allocator,
               std::string& out) const;
  request prepare(const json_value* message, effort allowed) const;
  request prepare(const plain_get& message, effort allowed) const;
  void find_nodes(request& asked, effort allowed) const;
  void check_size(const request& asked, std::size_t bytes, const batch_room* batch) const;
  bool client_is_gone() const { return subscriptions_ != nullptr && subscriptions_->is_gone(); }

  nx_db& db_;
  access rights_;
  subscription_port* subscriptions_;
};

}  // namespace nx
