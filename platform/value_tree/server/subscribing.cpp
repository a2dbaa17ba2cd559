#include "platform/value_tree/server/subscribing.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <utility>

#include "platform/value_tree/event_frame.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/json_text.h"
#include "platform/wire/limits.h"

namespace nx {

nx_error subscription_limit_error() {
  constexpr std::int32_t no_room = -105;
  return {no_room, fmt::format("More than {} subscriptions of a session",
                               limits::subscriptions_per_session)};
}

subscribing::subscribing(nx_db& db, session_outbox& outbox, std::shared_ptr<nx_session> session,
                         std::unique_lock<std::recursive_mutex>& lock, json_allocator& allocator,
                         std::string& members)
    : db_(db),
      outbox_(outbox),
      session_(std::move(session)),
      lock_(lock),
      allocator_(allocator),
      members_(members),
      start_(members.size()) {}

void subscribing::expect(std::size_t nodes) {
  constexpr std::size_t usual_member = 80;
  members_.reserve(std::min(start_ + nodes * usual_member, limits::output_bytes_per_session));
}

void subscribing::begin(std::span<const node_pointer> nodes, reach how) {
  numbers_.clear();
  places_.clear();
  lines_.clear();
  outbox_.begin(nodes, how, numbers_);
  if (numbers_.size() < nodes.size()) throw subscription_limit_error();
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    places_.push_back(here());
    try {
      begin_one(nodes[i], numbers_[i]);
    } catch (...) {
      cut_from(places_[i]);
      give_up(*nodes[i]);
      if (how == reach::by_name) throw;
    }
  }
  places_.push_back(here());
  const auto gone = take_out_replaced(nodes);
  hand_over();
  for (const auto& path : gone)
    begin_again(path, how);
}

void subscribing::begin_one(const node_pointer& node, nx_subscription_number number) {
  const auto kind = node->subscribe_text(session_, number, first_);
  if (kind == nx_db_leaf_node::first_value::by_document) return begin_by_document(node, number);
  add_texts(node->path(), kind);
}

// A value that is in error does not fail the request: its error stands among the values.
void subscribing::add_texts(std::string_view path, nx_db_leaf_node::first_value kind) {
  using enum nx_db_leaf_node::first_value;
  const auto start = members_.size();
  append_json_string(members_, path);
  const auto path_size = members_.size() - start;
  members_ += kind == error ? R"(:{"error":)" : ":";
  members_ += first_.json;
  members_ += kind == error ? "}," : ",";
  if (kind == none) return;
  const auto path_text = std::string_view(members_).substr(start, path_size);
  append_event(lines_, path_text, first_.time, kind == error ? "error" : "value", first_.json);
  lines_ += '\n';
}

// The node delivers the first event as it does later ones.
void subscribing::begin_by_document(const node_pointer& node, nx_subscription_number number) {
  json_value result(rapidjson::kObjectType);
  db_.subscribe(session_, node, allocator_, result, lock_);
  for (auto& [name, value] : result.GetObject()) {
    if (json_rpc::is_error_value(value)) {
      value = json_rpc::value_in_error(std::move(value), allocator_);
    }
    append_json_text(members_, name);
    members_ += ':';
    append_json_text(members_, value);
    members_ += ',';
  }
  if (const auto event = outbox_.take_first_event(number)) lines_ += event->lines;
}

void subscribing::cut_from(place start) {
  members_.resize(start.member);
  lines_.resize(start.line);
}

void subscribing::give_up(nx_db_leaf_node& node) {
  node.unsubscribe(session_);
  outbox_.abandon(node.path());
}

// A session that subscribes while the node is replaced may be missed when the subscribers are
// moved. Texts are taken out from the end, so that the places before them stay right.
std::vector<std::string> subscribing::take_out_replaced(std::span<const node_pointer> nodes) {
  std::vector<std::string> gone;
  if (db_.are_present(nodes)) return gone;
  for (auto i = nodes.size(); i-- > 0;) {
    if (db_.is_present(*nodes[i])) continue;
    give_up(*nodes[i]);
    const auto [member, line] = places_[i];
    const auto members = places_[i + 1].member - member;
    const auto lines = places_[i + 1].line - line;
    members_.erase(member, members);
    lines_.erase(line, lines);
    for (auto later = i + 1; later < places_.size(); ++later) {
      places_[later].member -= members;
      places_[later].line -= lines;
    }
    gone.push_back(nodes[i]->path());
  }
  return gone;
}

void subscribing::begin_again(const std::string& path, reach how) {
  const auto node = how == reach::by_name ? db_.node_at(path) : db_.find(path);
  if (!node || !node->subscription_supported()) return;
  begin({&node, 1}, how == reach::by_name ? how : reach::by_pattern);
}

void subscribing::hand_over() {
  if (lines_.empty()) return;
  events_.clear();
  for (std::size_t i = 0; i < numbers_.size(); ++i) {
    const auto bytes = places_[i + 1].line - places_[i].line;
    if (bytes > 0) events_.push_back({numbers_[i], static_cast<std::uint32_t>(bytes)});
  }
  const auto as_much_again = lines_.capacity();
  outbox_.add_first_events(events_, std::exchange(lines_, {}));
  lines_.reserve(as_much_again);
}

}  // namespace nx
