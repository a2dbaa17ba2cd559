// Which paths a session is subscribed to, and what comes for them before they are open.
#include <algorithm>
#include <utility>

#include "platform/value_tree/nx_db_node.h"
#include "platform/value_tree/path_pattern.h"
#include "platform/value_tree/server/session_outbox.h"
#include "platform/wire/limits.h"

namespace nx {

void session_outbox::expect(std::size_t subscriptions) {
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  if (begun_.empty()) begun_.reserve(subscriptions);
  first_ones_ = subscriptions_.size() == 0;
  if (first_ones_) subscriptions_.order_later();
  subscriptions_.reserve(subscriptions_.size() + subscriptions);
}

void session_outbox::begin(std::span<const node_pointer> nodes, reach how,
                           std::vector<nx_subscription_number>& numbers) {
  const std::lock_guard lock(mutex_);
  for (const auto& node : nodes) {
    const auto number = begin_one(node, how);
    if (number == no_subscription) return;
    numbers.push_back(number);
  }
}

// A path that begins once more before its answer has two entries; what comes next is for the newer,
// which replaces what came for the older.
nx_subscription_number session_outbox::begin_one(const node_pointer& node, reach how) {
  const bool is_new = how == reach::expected && first_ones_;
  auto number = is_new ? no_subscription : subscriptions_.find(node->path());
  if (number == no_subscription) {
    if (closed_ || subscriptions_.size() + patterns_.size() >= limits::subscriptions_per_session) {
      return no_subscription;
    }
    number = subscriptions_.add(node);
  } else {
    take_begun(number);
  }
  auto& entry = *subscriptions_.find(number);
  entry.exact = entry.exact || how == reach::by_name;
  entry.open = false;
  entry.place = begun_.size();
  begun_.emplace_back().subscription = number;
  return number;
}

nx_event_ptr session_outbox::take_begun(nx_subscription_number of) {
  const auto* subscribed = subscriptions_.find(of);
  if (subscribed == nullptr || subscribed->open || subscribed->place >= begun_.size()) return {};
  auto& waiting = begun_[subscribed->place];
  if (waiting.subscription != of || waiting.ended || !waiting.event) return {};
  begun_bytes_ -= waiting.event->lines.size();
  return std::exchange(waiting.event, nullptr);
}

nx_event_ptr session_outbox::take_first_event(nx_subscription_number of) {
  const std::lock_guard lock(mutex_);
  return take_begun(of);
}

void session_outbox::add_first_events(std::span<const first_event> events, std::string lines) {
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  for (const auto& [of, bytes] : events)
    begun_[subscriptions_.find(of)->place].first_bytes = bytes;
  begun_bytes_ += lines.size();
  first_lines_.push_back(std::move(lines));
}

void session_outbox::abandon(const std::string& path) {
  node_pointer released;
  const std::lock_guard lock(mutex_);
  released = end(subscriptions_.find(path));
}

bool session_outbox::is_exact(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  const auto number = subscriptions_.find(path);
  return number != no_subscription && subscriptions_.at(number).exact;
}

std::size_t session_outbox::subscriptions() const {
  const std::lock_guard lock(mutex_);
  return subscriptions_.size() + patterns_.size();
}

bool session_outbox::has_pattern(const std::string& pattern) const {
  const std::lock_guard lock(mutex_);
  return patterns_.contains(pattern);
}

bool session_outbox::add_pattern(const std::string& pattern) {
  const std::lock_guard lock(mutex_);
  if (patterns_.contains(pattern)) return true;
  if (closed_ || subscriptions_.size() + patterns_.size() >= limits::subscriptions_per_session ||
      patterns_.bytes() + pattern.size() > limits::pattern_bytes_per_session) {
    return false;
  }
  patterns_.add(pattern);
  return true;
}

std::size_t session_outbox::pattern_bytes() const {
  const std::lock_guard lock(mutex_);
  return patterns_.bytes();
}

std::vector<session_outbox::node_pointer> session_outbox::remove(
    const std::string& path_or_pattern) {
  if (is_path_pattern(path_or_pattern)) return remove_pattern(path_or_pattern, true);
  const std::lock_guard lock(mutex_);
  const auto number = subscriptions_.find(path_or_pattern);
  if (number == no_subscription) return {};
  subscriptions_.find(number)->exact = false;
  if (patterns_.covers(path_or_pattern)) return {};
  return {end(number)};
}

std::vector<session_outbox::node_pointer> session_outbox::withdraw(const std::string& pattern) {
  return remove_pattern(pattern, false);
}

// Thousands of paths are compared without the lock, which publishers need: only the session's own
// requests change the patterns.
std::vector<session_outbox::node_pointer> session_outbox::remove_pattern(const std::string& pattern,
                                                                         bool exact_too) {
  std::vector<node_pointer> nodes;
  {
    const std::lock_guard lock(mutex_);
    patterns_.remove(pattern);
    nodes = subscriptions_.nodes();
  }
  std::erase_if(nodes, [&](const auto& node) { return !path_matches(pattern, node->path()); });
  std::vector<bool> covered;
  covered.reserve(nodes.size());
  for (const auto& node : nodes)
    covered.push_back(patterns_.covers(node->path()));
  std::vector<node_pointer> ended;
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const auto number = subscriptions_.find(nodes[i]->path());
    auto* subscribed = subscriptions_.find(number);
    if (subscribed == nullptr) continue;  // its node has gone meanwhile
    if (exact_too) subscribed->exact = false;
    if (subscribed->exact || covered[i]) continue;
    ended.push_back(end(number));
  }
  return ended;
}

bool session_outbox::covered_by_pattern(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  return patterns_.covers(path);
}

bool session_outbox::is_subscribed(const std::string& path) const {
  return subscription_number(path) != no_subscription;
}

nx_subscription_number session_outbox::subscription_number(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  return subscriptions_.find(path);
}

// From now on events of these subscriptions queue up, after the first ones.
std::vector<session_outbox::node_pointer> session_outbox::open_begun() {
  std::vector<node_pointer> released;
  auto all = std::exchange(begun_, {});
  auto lines = std::exchange(first_lines_, {});
  begun_bytes_ = 0;
  bool some_given_up = false;
  for (auto& one : all) {
    auto* subscribed = subscriptions_.find(one.subscription);
    one.given_up = subscribed == nullptr;
    some_given_up = some_given_up || one.given_up;
    if (one.given_up) continue;
    subscribed->open = true;
    subscribed->place = 0;
  }
  if (some_given_up) cut_given_up(all, lines);
  for (auto& some : lines) {
    if (!some.empty()) push(std::move(some), true);
  }
  for (auto& one : all) {
    if (one.given_up || !one.event) continue;
    push({std::move(one.event), no_subscription, true});
    if (one.ended) released.push_back(end(one.subscription));
  }
  return released;
}

void session_outbox::cut_given_up(const std::vector<begun>& all, std::vector<std::string>& lines) {
  auto one = all.begin();
  for (auto& some : lines) {
    std::string kept;
    for (std::string_view rest(some); !rest.empty(); ++one) {
      if (!one->given_up) kept += rest.substr(0, one->first_bytes);
      rest.remove_prefix(one->first_bytes);
    }
    some = std::move(kept);
  }
}

}  // namespace nx
