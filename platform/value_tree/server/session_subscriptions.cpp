#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <span>

#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/server/request_methods.h"
#include "platform/value_tree/server/session.h"
#include "platform/value_tree/server/subscribing.h"

namespace nx {
namespace {

nx_error pattern_limit_error() {
  return {subscription_limit_error().code,
          fmt::format("More than {} bytes of patterns of a session",
                      limits::pattern_bytes_per_session)};
}

}  // namespace

void session::subscribe(const std::string& path, json_allocator& allocator, std::string& members) {
  std::unique_lock lock(subscription_mutex_);
  hears_ = true;
  const auto start = members.size();
  subscribing work(host_->db, outbox_, self(), lock, allocator, members);
  if (nx_db::is_pattern(path)) {
    undoing_ = {path, outbox_.has_pattern(path)};
    subscribe_pattern(path, work);
  } else {
    undoing_ = {path, outbox_.is_exact(path)};
    const auto node = host_->db.node_at(path);
    work.begin({&node, 1}, session_outbox::reach::by_name);
  }
  if (members.size() > start) members.pop_back();  // the last comma
}

// Subscribes to everything possible, and skips the rest.
void session::subscribe_pattern(const std::string& pattern, subscribing& work) {
  // First the pattern, then the existing nodes: one added in between is in both.
  host_->has_patterns = true;
  if (!outbox_.add_pattern(pattern)) {
    const auto bytes = outbox_.pattern_bytes() + pattern.size();
    throw bytes > limits::pattern_bytes_per_session ? pattern_limit_error()
                                                    : subscription_limit_error();
  }
  try {
    auto nodes = host_->db.match(pattern);
    std::erase_if(nodes, [](const auto& node) { return !node->subscription_supported(); });
    outbox_.expect(nodes.size());
    work.expect(nodes.size());
    for (std::span<const subscribing::node_pointer> rest(nodes); !rest.empty();) {
      const auto next = rest.first(std::min(rest.size(), subscribing::together));
      work.begin(next, session_outbox::reach::expected);
      rest = rest.subspan(next.size());
      if (is_gone()) throw client_gone_error();
      const auto bytes = work.bytes() + outbox_.first_event_bytes();
      if (bytes > limits::output_bytes_per_session) throw answer_too_long();
    }
  } catch (...) {
    take_back();
    throw;
  }
}

void session::take_back() {
  if (!undoing_ || undoing_->held_before) return;
  const std::lock_guard lock(subscription_mutex_);
  const auto& path = undoing_->path;
  let_go(nx_db::is_pattern(path) ? outbox_.withdraw(path) : outbox_.remove(path));
  undoing_.reset();
}

void session::unsubscribe(const std::string& path) {
  const std::lock_guard lock(subscription_mutex_);
  let_go(outbox_.remove(path));
}

void session::let_go(const std::vector<std::shared_ptr<nx_db_leaf_node>>& nodes) {
  const auto me = shared_from_this();
  for (const auto& node : nodes) {
    node->unsubscribe(me);
    if (!node->is_retired()) continue;
    const auto successor = host_->db.find(node->path());  // has its subscribers
    if (successor) successor->unsubscribe(me);
  }
}

void session::node_added(const std::string& path) {
  if (closed_ || !outbox_.covered_by_pattern(path)) return;
  added_.push_back(path);
  if (!busy_ && subscribe_added_at_once()) flush();
}

// False if a worker has to do it, since one of the nodes may block.
bool session::subscribe_added_at_once() {
  if (added_.empty()) return true;
  auto paths = std::exchange(added_, {});
  const bool waits = std::any_of(paths.begin(), paths.end(), [this](const auto& path) {
    const auto node = host_->db.find(path);
    return node && node->read_may_wait();
  });
  if (!waits) {
    subscribe_added(paths);
    return true;
  }
  start_job(effort::waiting, [this, added = std::move(paths)] {
    subscribe_added(added);
    return std::vector<std::string>();
  });
  return false;
}

void session::subscribe_added(const std::vector<std::string>& paths) {
  std::unique_lock lock(subscription_mutex_);
  json_document documents;
  std::string ignored;
  subscribing work(host_->db, outbox_, self(), lock, documents.GetAllocator(), ignored);
  for (const auto& path : paths) {
    // A node that replaced another has taken over its subscribers already.
    if (outbox_.is_subscribed(path) || !outbox_.covered_by_pattern(path)) continue;
    const auto node = host_->db.find(path);
    if (!node || !node->subscription_supported()) continue;
    try {
      work.begin({&node, 1}, session_outbox::reach::by_pattern);
    } catch (const nx_error&) {
      break;  // no room for more: nobody waits for an answer
    }
  }
  wake(outbox_.add_answer({}));
}

}  // namespace nx
