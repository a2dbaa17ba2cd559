#include "platform/nexel_client/subscription_table.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <exception>
#include <string_view>

#include "platform/note_log/note_log.h"
#include "platform/wire/failure.h"
#include "platform/wire/json_conversion.h"

namespace nx {

namespace {

using subscribers_list = std::vector<std::weak_ptr<nexel_subscriber>>;

bool all_dead(const subscribers_list& list) {
  return std::all_of(list.begin(), list.end(), [](const auto& one) { return one.expired(); });
}

}  // namespace

// A receiver that throws, as for a value of the wrong type, must not affect others. It would throw
// at every event, so this is logged once.
template <class Event>
void subscription_table::tell(const std::string& path, entry& of, Event event) {
  for (const auto& weak : of.subscribers) {
    auto subscriber = weak.lock();
    if (!subscriber) continue;
    try {
      event(*subscriber);
    } catch (...) {
      if (!of.fault_logged) {
        note_log::write(note_log::error, "nexel_client",
                        "Subscriber of " + path + " failed: " + current_failure().message,
                        note_log::folding::repeats);
      }
      of.fault_logged = true;
    }
  }
}

void subscription_table::add(const std::shared_ptr<nexel_subscriber>& subscriber) {
  entry& of = entries_[subscriber->get_path()];
  std::erase_if(of.subscribers, [](const auto& one) { return one.expired(); });
  if (of.subscribers.empty()) of.fault_logged = false;
  of.subscribers.push_back(subscriber);
  of.now = phase::due;
  of.retry = {};
}

std::vector<std::string> subscription_table::take_due(time_point now) {
  std::vector<std::string> due;
  for (auto& [path, of] : entries_) {
    if (of.now != phase::due || now < of.retry || all_dead(of.subscribers)) continue;
    of.now = phase::asked;
    of.known = true;
    tell(path, of, [](nexel_subscriber& one) { one.subscription_requested(); });
    due.push_back(path);
  }
  return due;
}

std::vector<std::string> subscription_table::take_abandoned() {
  std::vector<std::string> abandoned;
  for (auto at = entries_.begin(); at != entries_.end();) {
    if (!all_dead(at->second.subscribers)) {
      ++at;
      continue;
    }
    if (at->second.known) abandoned.push_back(at->first);
    at = entries_.erase(at);
  }
  return abandoned;
}

void subscription_table::confirmed(const std::string& path) {
  auto at = entries_.find(path);
  if (at == entries_.end() || at->second.now != phase::asked) return;
  at->second.now = phase::active;
  tell(path, at->second, [](nexel_subscriber& one) { one.subscription_confirmed(); });
}

void subscription_table::refused(const std::string& path, const nx_client_exception& error,
                                 time_point retry) {
  auto at = entries_.find(path);
  if (at == entries_.end() || at->second.now != phase::asked) return;
  at->second.now = phase::due;
  at->second.retry = retry;
  tell(path, at->second, [&](nexel_subscriber& one) { one.send_exception_event(path, error); });
}

void subscription_table::lost(std::int32_t code, const std::string& message) {
  for (auto& subscribed : entries_) {
    const auto& path = subscribed.first;
    auto& of = subscribed.second;
    const nx_client_exception error{code, message, path};
    tell(path, of, [&](nexel_subscriber& one) { one.send_exception_event(path, error); });
    of.known = false;
  }
  renew();
}

void subscription_table::renew() {
  for (auto& [path, of] : entries_) {
    of.now = phase::due;
    of.retry = {};
  }
}

void subscription_table::cancel() {
  entries_.clear();
}

void subscription_table::receive(const json_value& message) {
  const json_value* params = member_of(message, "params");
  if (!params) return;
  const std::string path = text_member(*params, "path");
  const std::string method = text_member(message, "method");
  if (method == "ended") return ended(path, text_member(*params, "reason"));
  if (method != "event") return;
  if (const json_value* value = member_of(*params, "value")) return changed(path, *value);
  auto at = entries_.find(path);
  if (at == entries_.end()) return;
  if (const json_value* error = member_of(*params, "error")) {
    const json_value* code = member_of(*error, "code");
    const nx_client_exception exception{code && code->IsInt() ? code->GetInt() : -1,
                                        text_member(*error, "message"), path};
    tell(path, at->second,
         [&](nexel_subscriber& one) { one.send_exception_event(path, exception); });
  }
}

void subscription_table::changed(std::string_view path, const json_value& value) {
  auto at = entries_.find(path);
  if (at == entries_.end()) return;
  tell(at->first, at->second,
       [&](nexel_subscriber& one) { one.send_changed_value_event(at->first, value); });
}

void subscription_table::ended(const std::string& path, const std::string& reason) {
  auto at = entries_.find(path);
  if (at == entries_.end()) return;
  const auto rc =
      reason == "removed" ? subscription_ended_rc::removed : subscription_ended_rc::dropped;
  tell(path, at->second,
       [&](nexel_subscriber& one) { one.send_subscription_ended_event(path, rc); });
  entries_.erase(at);
}

std::vector<std::string> subscription_table::known_paths() const {
  std::vector<std::string> paths;
  for (const auto& [path, of] : entries_) {
    if (of.known) paths.push_back(path);
  }
  return paths;
}

}  // namespace nx
