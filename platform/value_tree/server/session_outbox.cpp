#include "platform/value_tree/server/session_outbox.h"

#include <rapidjson/document.h>

#include <utility>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/limits.h"

namespace nx {
namespace {

// A session also counts as slow if the sender cannot keep up with the nodes.
constexpr std::size_t merging_from = 64 * 1024;

std::string ended_line(const std::string& path, const std::string& reason) {
  json_document params(rapidjson::kObjectType);
  auto& allocator = params.GetAllocator();
  params.AddMember("path", to_json(path, allocator), allocator);
  params.AddMember("reason", to_json(reason, allocator), allocator);
  return json_rpc::notification("ended", params);
}

}  // namespace

// A subscription may be the last to keep a node that was replaced: such a node goes after the lock.
bool session_outbox::add_answer(std::string text) {
  std::vector<node_pointer> released;
  const std::lock_guard lock(mutex_);
  if (closed_) return false;
  if (const auto kept = std::exchange(kept_place_, 0); kept != 0) {
    fill(kept, std::move(text));
  } else if (!text.empty()) {
    push(std::move(text), true);
  }
  if (!begun_.empty()) released = open_begun();
  return wake();
}

void session_outbox::keep_place() {
  const std::lock_guard lock(mutex_);
  if (closed_ || kept_place_ != 0) return;
  kept_place_ = next_number_;
  push({nullptr, no_subscription, true});
}

bool session_outbox::deliver(nx_event_ptr event, nx_subscription_number subscription) {
  const std::lock_guard lock(mutex_);
  auto* found = subscriptions_.find(subscription);
  if (found == nullptr) return false;
  if (!found->open) {
    auto& waiting = begun_[found->place];
    if (waiting.ended) return false;
    begun_bytes_ += event->lines.size() - (waiting.event ? waiting.event->lines.size() : 0);
    waiting.event = std::move(event);
    return false;
  }
  push_event(*found, subscription, std::move(event));
  return wake();
}

bool session_outbox::end_subscription(const std::string& path, const std::string& reason) {
  node_pointer released;
  const std::lock_guard lock(mutex_);
  const auto number = subscriptions_.find(path);
  const auto* found = subscriptions_.find(number);
  if (found == nullptr) return false;
  if (!found->open) {
    auto& waiting = begun_[found->place];
    waiting.event = make_event(ended_line(path, reason));
    waiting.ended = true;
    return false;
  }
  released = push_end(number, ended_line(path, reason));
  return wake();
}

bool session_outbox::take(std::string& out, std::size_t enough) {
  const std::lock_guard lock(mutex_);
  woken_ = false;
  while (!nothing_waits() && queue_[first_].text && out.size() < enough) {
    auto& next = queue_[first_++];
    drop(next);
    const bool is_ended =
        some_ended_ && next.of != no_subscription && subscriptions_.find(next.of) == nullptr;
    if (!is_ended) out += next.text->lines;
    next.text.reset();
  }
  forget_sent();
  return !nothing_waits() && queue_[first_].text;
}

nx_event_ptr session_outbox::take_only() {
  const std::lock_guard lock(mutex_);
  if (queue_.size() != first_ + 1 || some_ended_ || !queue_[first_].text) return nullptr;
  woken_ = false;
  drop(queue_[first_]);
  auto only = std::move(queue_[first_++].text);
  forget_sent();
  return only;
}

void session_outbox::drop(const item& from) {
  const auto size = from.text->lines.size();
  bytes_ -= size;
  if (from.answer) count_answers(-static_cast<std::ptrdiff_t>(size));
}

void session_outbox::count_answers(std::ptrdiff_t bytes) {
  answer_bytes_ += static_cast<std::size_t>(bytes);
  if (all_answers_ != nullptr) *all_answers_ += static_cast<std::size_t>(bytes);
}

void session_outbox::forget_sent() {
  constexpr std::size_t kept_items = 256;
  if (!nothing_waits()) {
    if (first_ < kept_items) return;
    queue_.erase(queue_.begin(), queue_.begin() + static_cast<std::ptrdiff_t>(first_));
  } else {
    queue_.clear();
    some_ended_ = false;
    if (queue_.capacity() > kept_items) queue_.shrink_to_fit();
  }
  first_ = 0;
}

void session_outbox::set_slow(bool slow) {
  const std::lock_guard lock(mutex_);
  slow_ = slow;
}

std::size_t session_outbox::waiting_bytes() const {
  const std::lock_guard lock(mutex_);
  return bytes_;
}

std::size_t session_outbox::waiting_event_bytes() const {
  const std::lock_guard lock(mutex_);
  return bytes_ - answer_bytes_;
}

std::size_t session_outbox::first_event_bytes() const {
  const std::lock_guard lock(mutex_);
  return begun_bytes_;
}

std::vector<session_outbox::node_pointer> session_outbox::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  queue_.clear();
  queue_.shrink_to_fit();
  first_ = 0;
  bytes_ = 0;
  count_answers(-static_cast<std::ptrdiff_t>(answer_bytes_));
  begun_bytes_ = 0;
  begun_.clear();
  first_lines_.clear();
  patterns_.clear();
  return subscriptions_.take_nodes();
}

void session_outbox::push(std::string text, bool answer) {
  push({make_event(std::move(text)), no_subscription, answer});
}

void session_outbox::push(item added) {
  const auto size = added.text ? added.text->lines.size() : 0;
  bytes_ += size;
  if (added.answer) count_answers(static_cast<std::ptrdiff_t>(size));
  queue_.push_back(std::move(added));
  ++next_number_;
}

void session_outbox::push_event(subscription_slots::slot& subscribed, nx_subscription_number of,
                                nx_event_ptr event) {
  auto& newest = subscribed.place;
  const bool merging = slow_ || bytes_ > merging_from;
  if (merging && newest >= front_number()) {
    auto& waiting = queue_[first_ + newest - front_number()].text;
    bytes_ += event->lines.size();
    bytes_ -= waiting->lines.size();
    waiting = std::move(event);
    return;
  }
  newest = next_number_;
  push({std::move(event), of, false});
}

session_outbox::node_pointer session_outbox::push_end(nx_subscription_number ended,
                                                      std::string text) {
  auto node = end(ended);
  push(std::move(text), false);
  return node;
}

// Its pending events are not sent any more.
session_outbox::node_pointer session_outbox::end(nx_subscription_number ended) {
  some_ended_ = true;
  return subscriptions_.erase(ended);
}

void session_outbox::fill(std::uint64_t number, std::string text) {
  auto& kept = queue_[first_ + number - front_number()];
  kept.text = make_event(std::move(text));
  bytes_ += kept.text->lines.size();
  count_answers(static_cast<std::ptrdiff_t>(kept.text->lines.size()));
}

bool session_outbox::wake() {
  if (nothing_waits() || !queue_[first_].text) return false;
  // A slow session continues sending by itself; only one that has to be closed needs the sender
  // now.
  if (slow_ && bytes_ - answer_bytes_ <= limits::output_bytes_per_session) return false;
  return !std::exchange(woken_, true);
}

}  // namespace nx
