#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>

#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/server/request_methods.h"
#include "platform/value_tree/server/session.h"
#include "platform/wire/failure.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"

namespace nx {
namespace {

constexpr std::int32_t no_room = -105;

nx_error limit_error() {
  return {no_room, fmt::format("More than {} subscriptions of a session",
                               limits::subscriptions_per_session)};
}

nx_error pattern_limit_error() {
  return {no_room, fmt::format("More than {} bytes of patterns of a session",
                               limits::pattern_bytes_per_session)};
}

}  // namespace

void session::subscribe(const std::string& path, json_allocator& allocator, json_value& result) {
  std::unique_lock lock(subscription_mutex_);
  hears_ = true;
  if (nx_db::is_pattern(path)) {
    undoing_ = {path, outbox_.has_pattern(path)};
    subscribe_pattern(path, allocator, result, lock);
  } else {
    undoing_ = {path, outbox_.is_exact(path)};
    subscribe_node(host_->db.node_at(path), true, allocator, result, lock);
  }
}

void session::subscribe_node(const std::shared_ptr<nx_db_leaf_node>& node, bool exact,
                             json_allocator& allocator, json_value& result,
                             std::unique_lock<std::recursive_mutex>& lock) {
  const auto path = node->shared_path();
  if (!outbox_.begin(path, exact)) throw limit_error();
  const auto before = result.MemberCount();
  try {
    host_->db.subscribe(shared_from_this(), node, allocator, result, lock);
  } catch (...) {
    outbox_.abandon(*path);
    throw;
  }
  // A value that is in error does not fail the request; its node gives code and text instead.
  for (auto member = result.MemberBegin() + before; member != result.MemberEnd(); ++member) {
    if (!json_rpc::is_error_value(member->value)) continue;
    member->value = json_rpc::value_in_error(std::move(member->value), allocator);
  }
}

// Subscribes to everything possible, and skips the rest.
void session::subscribe_pattern(const std::string& pattern, json_allocator& allocator,
                                json_value& result, std::unique_lock<std::recursive_mutex>& lock) {
  // First the pattern, then the existing nodes: one added in between is in both.
  host_->has_patterns = true;
  if (!outbox_.add_pattern(pattern)) {
    const auto bytes = outbox_.pattern_bytes() + pattern.size();
    throw bytes > limits::pattern_bytes_per_session ? pattern_limit_error() : limit_error();
  }
  const request_call call{host_->db, this, allocator, result};
  constexpr unsigned stride = 64;
  unsigned count = 0;
  try {
    const auto nodes = host_->db.match(pattern);
    outbox_.expect(nodes.size());
    for (const auto& node : nodes) {
      if (!node->subscription_supported()) continue;
      if (++count % stride == 0) call.check();
      try {
        subscribe_node(node, false, allocator, result, lock);
      } catch (const answer_too_long&) {
        throw;
      } catch (...) {
        const nx_error error = current_node_error();
        if (error.code == no_room) throw error;  // otherwise it has gone meanwhile
      }
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

void session::let_go(const std::vector<std::string>& paths) {
  for (const auto& path : paths)
    leave(path);
}

void session::leave(const std::string& path) {
  if (const auto node = host_->db.find(path)) node->unsubscribe(shared_from_this());
}

void session::let_go_of_all() {
  const auto paths = outbox_.paths();
  outbox_.close();
  constexpr std::size_t paths_a_look = 256;  // into the tree, which holds up who changes it
  std::vector<std::string_view> some;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    some.emplace_back(*paths[i]);
    if (some.size() < paths_a_look && i + 1 < paths.size()) continue;
    for (const auto& node : host_->db.find_each(some)) {
      if (node) node->unsubscribe(shared_from_this());
    }
    some.clear();
  }
}

void session::drop_subscription(const std::string& path) {
  if (!outbox_.is_subscribed(path)) return;
  leave(path);
  subscription_ended(path, "dropped");
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
  for (const auto& path : paths) {
    // A node that replaced another has taken over its subscribers already.
    if (outbox_.is_subscribed(path) || !outbox_.covered_by_pattern(path)) continue;
    json_document ignored(rapidjson::kObjectType);
    try {
      subscribe_node(host_->db.node_at(path), false, ignored.GetAllocator(), ignored, lock);
    } catch (...) {
      // Cannot be subscribed to, or already gone: nobody waits for an answer.
    }
  }
  wake(outbox_.add_answer({}));
}

}  // namespace nx
