#include "platform/value_tree/server/session_outbox.h"

#include <rapidjson/document.h>

#include <algorithm>

#include "platform/value_tree/path_pattern.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/limits.h"

namespace nx {
namespace {

// A session is slow too when the sender cannot keep up with the nodes.
constexpr std::size_t merging_from = 64 * 1024;

std::string ended_line(const std::string& path, const std::string& reason) {
  json_document params(rapidjson::kObjectType);
  auto& allocator = params.GetAllocator();
  params.AddMember("path", to_json(path, allocator), allocator);
  params.AddMember("reason", to_json(reason, allocator), allocator);
  return json_rpc::notification("ended", params);
}

}  // namespace

bool session_outbox::add_answer(std::string text) {
  const std::lock_guard lock(mutex_);
  if (closed_) return false;
  if (!text.empty()) push({std::move(text), nullptr, nullptr});
  open_begun();
  return wake();
}

bool session_outbox::deliver(std::shared_ptr<const nx_event> event) {
  const std::lock_guard lock(mutex_);
  const auto found = subscriptions_.find(event->path);
  if (found == subscriptions_.end()) return false;
  if (!found->second->open) {
    found->second->held = std::move(event);
    return false;
  }
  push_event(found->second, std::move(event));
  return wake();
}

bool session_outbox::end_subscription(const std::string& path, const std::string& reason) {
  const std::lock_guard lock(mutex_);
  const auto found = subscriptions_.find(path);
  if (found == subscriptions_.end()) return false;
  if (!found->second->open) {
    found->second->held_end = ended_line(path, reason);
    return false;
  }
  push_end(found, ended_line(path, reason));
  return wake();
}

bool session_outbox::take(std::string& out, std::size_t enough) {
  const std::lock_guard lock(mutex_);
  woken_ = false;
  while (!queue_.empty() && out.size() < enough) {
    item next = std::move(queue_.front());
    queue_.pop_front();
    bytes_ -= next.size();
    if (next.of && next.of->ended) continue;
    if (!next.event && out.empty()) {
      out = std::move(next.text);
    } else {
      out += next.event ? next.event->line : next.text;
    }
    out += '\n';
  }
  return !queue_.empty();
}

void session_outbox::set_slow(bool slow) {
  const std::lock_guard lock(mutex_);
  slow_ = slow;
}

std::size_t session_outbox::waiting_bytes() const {
  const std::lock_guard lock(mutex_);
  return bytes_;
}

void session_outbox::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  queue_.clear();
  bytes_ = 0;
  subscriptions_.clear();
  begun_.clear();
  patterns_.clear();
}

bool session_outbox::begin(const std::string& path, bool exact) {
  const std::lock_guard lock(mutex_);
  auto& entry = subscriptions_[path];
  if (!entry) {
    if (closed_ || subscriptions_.size() + patterns_.size() > limits::subscriptions_per_session) {
      subscriptions_.erase(path);
      return false;
    }
    entry = std::make_shared<subscription>();
  }
  entry->exact = entry->exact || exact;
  entry->open = false;
  begun_.push_back(path);
  return true;
}

void session_outbox::abandon(const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (const auto found = subscriptions_.find(path); found != subscriptions_.end()) {
    found->second->ended = true;
    subscriptions_.erase(found);
  }
}

bool session_outbox::add_pattern(const std::string& pattern) {
  const std::lock_guard lock(mutex_);
  if (std::find(patterns_.begin(), patterns_.end(), pattern) != patterns_.end()) return true;
  if (closed_ || subscriptions_.size() + patterns_.size() >= limits::subscriptions_per_session) {
    return false;
  }
  patterns_.push_back(pattern);
  return true;
}

std::vector<std::string> session_outbox::remove(const std::string& path_or_pattern) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> named;
  if (is_path_pattern(path_or_pattern)) {
    std::erase(patterns_, path_or_pattern);
    for (const auto& [path, subscribed] : subscriptions_) {
      if (path_matches(path_or_pattern, path)) named.push_back(path);
    }
  } else if (subscriptions_.contains(path_or_pattern)) {
    named.push_back(path_or_pattern);
  }
  std::erase_if(named, [this](const auto& path) { return stays(path); });
  return named;
}

bool session_outbox::stays(const std::string& path) {
  const auto found = subscriptions_.find(path);
  found->second->exact = false;
  if (covered(path)) return true;
  found->second->ended = true;
  subscriptions_.erase(found);
  return false;
}

bool session_outbox::covered_by_pattern(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  return covered(path);
}

bool session_outbox::is_subscribed(const std::string& path) const {
  const std::lock_guard lock(mutex_);
  return subscriptions_.contains(path);
}

std::vector<std::string> session_outbox::paths() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> found;
  found.reserve(subscriptions_.size());
  for (const auto& [path, subscribed] : subscriptions_)
    found.push_back(path);
  return found;
}

std::size_t session_outbox::pattern_count() const {
  const std::lock_guard lock(mutex_);
  return patterns_.size();
}

void session_outbox::push(item added) {
  bytes_ += added.size();
  queue_.push_back(std::move(added));
  ++next_number_;
}

void session_outbox::push_event(const std::shared_ptr<subscription>& of,
                                std::shared_ptr<const nx_event> event) {
  const bool merging = slow_ || bytes_ > merging_from;
  if (merging && of->last_item >= front_number()) {
    auto& waiting = queue_[of->last_item - front_number()].event;
    bytes_ += event->line.size();
    bytes_ -= waiting->line.size();
    waiting = std::move(event);
    return;
  }
  of->last_item = next_number_;
  push({{}, std::move(event), of});
}

void session_outbox::push_end(subscription_map::iterator ended, std::string text) {
  ended->second->ended = true;
  subscriptions_.erase(ended);
  push({std::move(text), nullptr, nullptr});
}

void session_outbox::open_begun() {
  for (const auto& path : begun_) {
    const auto found = subscriptions_.find(path);
    if (found == subscriptions_.end()) continue;
    const auto subscribed = found->second;
    subscribed->open = true;
    if (!subscribed->held_end.empty()) {
      push_end(found, std::move(subscribed->held_end));
    } else if (subscribed->held) {
      push_event(subscribed, std::move(subscribed->held));
    }
  }
  begun_.clear();
}

bool session_outbox::covered(const std::string& path) const {
  const auto fits = [&](const auto& pattern) { return path_matches(pattern, path); };
  return std::any_of(patterns_.begin(), patterns_.end(), fits);
}

bool session_outbox::wake() {
  if (queue_.empty()) return false;
  // A slow session sends on by itself; only one that has to be closed needs the sender now.
  if (slow_ && bytes_ <= limits::output_bytes_per_session) return false;
  return !std::exchange(woken_, true);
}

}  // namespace nx
