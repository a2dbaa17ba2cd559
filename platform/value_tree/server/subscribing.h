// One `subscribe` of a session while it is carried out: for each node, the session is registered,
// its value becomes a member of the answer, and the first event a line. Both are written as text,
// many nodes at a time, since a client may subscribe to everything again and again.
//
// On the thread of the request, with the session's subscription mutex held.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value_tree/nx_db_node.h"
#include "platform/value_tree/server/session_outbox.h"
#include "platform/wire/json.h"
#include "platform/wire/nx_error.h"

class nx_db;

namespace nx {

nx_error subscription_limit_error();

class subscribing {
 public:
  using node_pointer = std::shared_ptr<nx_db_leaf_node>;
  using reach = session_outbox::reach;

  /// Members are appended to `members`, each with a comma after it; documents are made in
  /// `allocator`.
  subscribing(nx_db& db, session_outbox& outbox, std::shared_ptr<nx_session> session,
              std::unique_lock<std::recursive_mutex>& lock, json_allocator& allocator,
              std::string& members);

  /// How many nodes are subscribed to with one look at the outbox and one at the tree.
  static constexpr std::size_t together = 64;

  /// About so many will begin: memory for their members is taken at once.
  void expect(std::size_t nodes);

  /// At most `together` nodes. Throws nx_error -105 if the session has too many subscriptions.
  /// By name: also what the node throws. By a pattern: what cannot be subscribed to is left out.
  void begin(std::span<const node_pointer> nodes, reach how);

  /// Of the members so far.
  std::size_t bytes() const { return members_.size() - start_; }

 private:
  // Where the texts of a node begin.
  struct place {
    std::size_t member;
    std::size_t line;
  };

  place here() const { return {.member = members_.size(), .line = lines_.size()}; }
  void begin_one(const node_pointer& node, nx_subscription_number number);
  void begin_by_document(const node_pointer& node, nx_subscription_number number);
  void add_texts(std::string_view path, nx_db_leaf_node::first_value kind);
  void cut_from(place start);
  void give_up(nx_db_leaf_node& node);
  std::vector<std::shared_ptr<const std::string>> take_out_replaced(
      std::span<const node_pointer> nodes);
  void begin_again(const std::string& path, reach how);
  void hand_over();

  nx_db& db_;
  session_outbox& outbox_;
  const std::shared_ptr<nx_session> session_;
  std::unique_lock<std::recursive_mutex>& lock_;
  json_allocator& allocator_;
  std::string& members_;
  const std::size_t start_;
  // Of the nodes at hand; kept from one call to the next.
  std::vector<nx_subscription_number> numbers_;
  std::vector<place> places_;
  std::string lines_;
  nx_db_leaf_node::first_text first_;
  std::vector<session_outbox::first_event> events_;
};

}  // namespace nx
