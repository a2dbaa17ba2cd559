#include "platform/value_tree/server/session_outbox.h"

#include <rapidjson/document.h>

#include <algorithm>

#include "platform/value_tree/path_pattern.h"
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

// First events wait as one text: many thousand of them may arrive at once, for a client that does
// not read them yet. That text is assembled without the lock, since publishers need it.
bool session_outbox::add_answer(std::string text) {
  std::vector<begun> first;
  std::uint64_t place = 0;
  {
    const std::lock_guard lock(mutex_);
    if (closed_) return false;
    if (const auto kept = std::exchange(kept_place_, 0); kept != 0) {
      fill(kept, std::move(text));
    } else if (!text.empty()) {
      push(std::move(text), true);
    }
    if (begun_.empty()) return wake();
    first = open_begun();
    const auto has_line = [](const auto& one) { return one.event || !one.end.empty(); };
    if (std::none_of(first.begin(), first.end(), has_line)) return wake();
    place = next_number_;
    push({nullptr, no_subscription, true});
  }
  auto events = text_of(first);
  const std::lock_guard lock(mutex_);
  if (closed_) return false;
  fill(place, std::move(events));
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
    auto& first = begun_[found->place].event;
    begun_bytes_ += event->line.size() - (first ? first->line.size() : 0);
    first = std::move(event);
    return false;
  }
  push_event(*found, subscription, std::move(event));
  return wake();
}

bool session_outbox::end_subscription(const std::string& path, const std::string& reason) {
  const std::lock_guard lock(mutex_);
  const auto number = subscriptions_.find(path);
  const auto* found = subscriptions_.find(number);
  if (found == nullptr) return false;
  if (!found->open) {
    begun_[found->place].end = ended_line(path, reason);
    return false;
  }
  push_end(number, ended_line(path, reason));
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
    if (!is_ended && !next.text->line.empty()) {  // empty: a place that was kept in vain
      out += next.text->line;
      out += '\n';
    }
    next.text.reset();
  }
  forget_sent();
  return !nothing_waits() && queue_[first_].text;
}

void session_outbox::drop(const item& from) {
  const auto size = from.text->line.size();
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

void session_outbox::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  queue_.clear();
  queue_.shrink_to_fit();
  first_ = 0;
  bytes_ = 0;
  count_answers(-static_cast<std::ptrdiff_t>(answer_bytes_));
  begun_bytes_ = 0;
  subscriptions_.clear();
  begun_.clear();
  patterns_.clear();
}

void session_outbox::expect(std::size_t subscriptions) {
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  if (begun_.empty()) begun_.reserve(subscriptions);
  subscriptions_.reserve(subscriptions_.size() + subscriptions);
}

bool session_outbox::begin(const std::shared_ptr<const std::string>& path, bool exact) {
  const std::lock_guard lock(mutex_);
  auto number = subscriptions_.find(*path);
  if (number == no_subscription) {
    if (closed_ || subscriptions_.size() + patterns_.size() >= limits::subscriptions_per_session) {
      return false;
    }
    number = subscriptions_.add(path);
  }
  auto& entry = *subscriptions_.find(number);
  entry.exact = entry.exact || exact;
  if (!entry.open && entry.place < begun_.size() && begun_[entry.place].subscription == number) {
    return true;
  }
  entry.open = false;
  entry.place = begun_.size();
  begun_.push_back({.subscription = number, .event = nullptr, .end = {}});
  return true;
}

void session_outbox::abandon(const std::string& path) {
  const std::lock_guard lock(mutex_);
  end(subscriptions_.find(path));
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

std::vector<std::string> session_outbox::remove(const std::string& path_or_pattern) {
  if (is_path_pattern(path_or_pattern)) return remove_pattern(path_or_pattern, true);
  const std::lock_guard lock(mutex_);
  const auto number = subscriptions_.find(path_or_pattern);
  if (number == no_subscription) return {};
  subscriptions_.find(number)->exact = false;
  if (patterns_.covers(path_or_pattern)) return {};
  end(number);
  return {path_or_pattern};
}

std::vector<std::string> session_outbox::withdraw(const std::string& pattern) {
  return remove_pattern(pattern, false);
}

// Thousands of paths are compared without the lock, which publishers need: only the session's own
// requests change the patterns.
std::vector<std::string> session_outbox::remove_pattern(const std::string& pattern,
                                                        bool exact_too) {
  std::vector<std::shared_ptr<const std::string>> paths;
  {
    const std::lock_guard lock(mutex_);
    patterns_.remove(pattern);
    paths = subscriptions_.shared_paths();
  }
  std::erase_if(paths, [&](const auto& path) { return !path_matches(pattern, *path); });
  std::vector<bool> covered;
  covered.reserve(paths.size());
  for (const auto& path : paths)
    covered.push_back(patterns_.covers(*path));
  std::vector<std::string> ended;
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const auto number = subscriptions_.find(*paths[i]);
    auto* subscribed = subscriptions_.find(number);
    if (subscribed == nullptr) continue;  // its node has gone meanwhile
    if (exact_too) subscribed->exact = false;
    if (subscribed->exact || covered[i]) continue;
    end(number);
    ended.push_back(*paths[i]);
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
  // Each node asks this twice while its subscription begins, with the very text that it shares.
  if (!begun_.empty()) {
    const auto newest = begun_.back().subscription;
    if (subscriptions_.at(newest).path.get() == &path) return newest;
  }
  return subscriptions_.find(path);
}

std::vector<std::shared_ptr<const std::string>> session_outbox::paths() const {
  const std::lock_guard lock(mutex_);
  return subscriptions_.shared_paths();
}

void session_outbox::push(std::string text, bool answer) {
  push({make_event(std::move(text)), no_subscription, answer});
}

void session_outbox::push(item added) {
  const auto size = added.text ? added.text->line.size() : 0;
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
    bytes_ += event->line.size();
    bytes_ -= waiting->line.size();
    waiting = std::move(event);
    return;
  }
  newest = next_number_;
  push({std::move(event), of, false});
}

void session_outbox::push_end(nx_subscription_number ended, std::string text) {
  end(ended);
  push(std::move(text), false);
}

// Its pending events are not sent any more.
void session_outbox::end(nx_subscription_number ended) {
  subscriptions_.erase(ended);
  some_ended_ = true;
}

// From now on events of these subscriptions queue up after the first ones.
std::vector<session_outbox::begun> session_outbox::open_begun() {
  std::vector<begun> first;
  first.swap(begun_);
  begun_bytes_ = 0;
  for (auto& [number, event, end_text] : first) {
    auto* subscribed = subscriptions_.find(number);
    if (subscribed == nullptr) {
      event = nullptr;
      end_text.clear();
      continue;
    }
    subscribed->open = true;
    subscribed->place = 0;
    if (!end_text.empty()) end(number);
  }
  return first;
}

std::string session_outbox::text_of(const std::vector<begun>& first) {
  const auto line_of = [](const begun& one) -> std::string_view {
    return one.end.empty() && one.event ? one.event->line : one.end;
  };
  std::size_t bytes = 0;
  for (const auto& one : first)
    bytes += line_of(one).size() + 1;
  std::string text;
  text.reserve(bytes);
  for (const auto& one : first) {
    const auto line = line_of(one);
    if (line.empty()) continue;
    if (!text.empty()) text += '\n';
    text += line;
  }
  return text;
}

void session_outbox::fill(std::uint64_t number, std::string text) {
  auto& kept = queue_[first_ + number - front_number()];
  bytes_ += text.size();
  count_answers(static_cast<std::ptrdiff_t>(text.size()));
  kept.text = make_event(std::move(text));
}

bool session_outbox::wake() {
  if (nothing_waits() || !queue_[first_].text) return false;
  // A slow session continues sending by itself; only one that has to be closed needs the sender
  // now.
  if (slow_ && bytes_ - answer_bytes_ <= limits::output_bytes_per_session) return false;
  return !std::exchange(woken_, true);
}

}  // namespace nx
