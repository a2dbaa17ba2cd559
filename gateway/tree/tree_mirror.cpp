#include "gateway/tree/tree_mirror.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/nexel_client/request_text.h"
#include "platform/value_tree/event_frame.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/json_text.h"
#include "platform/wire/nx_error.h"

namespace gateway {

namespace {

// A missing path may appear at any time, and asking for it costs nothing. Any other refusal, such
// as of a pattern with more values than an answer may contain, costs the daemon its work each time.
constexpr int longest_retry = 64;

std::string value_member(const nx::json_value& value) {
  std::string text = "\"value\":";
  nx::append_json_text(text, value);
  return text;
}

std::string error_member(const nx_error& error) {
  std::string text = "\"error\":";
  nx::json_rpc::append_error_object(text, error);
  return text;
}

/// A value of a result; a value in error has the form {"error":{...}}.
std::string member_of_result(const nx::json_value& value) {
  if (value.IsObject() && value.MemberCount() == 1 && value.MemberBegin()->name == "error" &&
      nx::json_rpc::is_error_value(value.MemberBegin()->value)) {
    return error_member(nx::json_rpc::error_from_value(value.MemberBegin()->value));
  }
  return value_member(value);
}

nx_error no_such_path(const std::string& path) {
  return {nx_error::not_found, "No such path: " + path};
}

}  // namespace

tree_mirror::tree_mirror(boost::asio::io_context& io, std::shared_ptr<tree_link> link,
                         const settings& bounds)
    : settings_(bounds),
      link_(std::move(link)),
      pause_timer_(io),
      retry_timer_(io),
      link_since_(now_text()) {}

std::string tree_mirror::now_text() const {
  return nx::event_time(settings_.now());
}

std::shared_ptr<topic> tree_mirror::watch(const std::string& pattern) {
  if (const auto known = topics_.find(pattern); known != topics_.end()) {
    if (auto held = known->second.lock()) return held;
  }
  if (topics_.size() >= most_topics) return nullptr;
  const auto forget = [weak = weak_from_this()](topic* gone) {
    if (const auto self = weak.lock()) self->let_go(gone->pattern());
    delete gone;
  };
  std::shared_ptr<topic> made(new topic(pattern), forget);
  topics_[pattern] = made;
  if (link_->is_up()) subscribe(made);
  return made;
}

void tree_mirror::let_go(const std::string& pattern) {
  topics_.erase(pattern);
  refused_.erase(pattern);
  if (!link_->is_up()) return;
  link_->call("unsubscribe", nx::params_text(pattern), [](const auto*, const auto*) {});
}

void tree_mirror::subscribe(const std::shared_ptr<topic>& wanted) {
  link_->call("subscribe", nx::params_text(wanted->pattern()),
              [self = shared_from_this(), weak = std::weak_ptr(wanted)](
                  const nx::json_value* result, const nx_error* error) {
                if (const auto to = weak.lock()) self->subscribed(*to, result, error);
              });
}

void tree_mirror::subscribed(topic& to, const nx::json_value* result, const nx_error* error) {
  if (!link_->is_up()) return;
  const auto time = now_text();
  if (error) {
    to.put(to.pattern(), make_frame(to.pattern(), time, error_member(*error)));
    refused(to.pattern(), error->code);
  } else if (refused_.erase(to.pattern()); result->IsObject()) {
    for (const auto& member : result->GetObject()) {
      const std::string path(member.name.GetString(), member.name.GetStringLength());
      to.put(path, make_frame(path, time, member_of_result(member.value)));
    }
  }
  to.set_filled();
  tell_later();
}

void tree_mirror::refused(const std::string& pattern, std::int32_t code) {
  const bool idle = refused_.empty();
  const auto [known, is_new] = refused_.try_emplace(pattern, refusal{settings_.tree_retry, {}});
  auto& [pause, due] = known->second;
  if (!is_new && code != nx_error::not_found)
    pause = std::min(2 * pause, longest_retry * settings_.tree_retry);
  due = clock::now() + pause;
  if (idle) retry_refused();
}

void tree_mirror::retry_refused() {
  retry_timer_.expires_after(settings_.tree_retry);
  retry_timer_.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
    const auto self = weak.lock();
    if (!self || error || self->stopped_ || self->refused_.empty()) return;
    self->subscribe_due();
    self->retry_refused();
  });
}

void tree_mirror::subscribe_due() {
  std::vector<std::shared_ptr<topic>> again;
  for (auto& [pattern, why] : refused_) {
    const auto held = topics_.at(pattern).lock();
    if (!held || why.due > clock::now()) continue;
    why.due = clock::time_point::max();  // until the answer
    again.push_back(held);
  }
  for (const auto& each : again)
    subscribe(each);
}

void tree_mirror::tree_connected() {
  ++link_changes_;
  link_since_ = now_text();
  for (const auto& [pattern, weak] : topics_) {
    if (const auto held = weak.lock()) subscribe(held);
  }
  tell_later();
}

void tree_mirror::tree_lost(std::chrono::milliseconds silent) {
  ++link_changes_;
  link_since_ = nx::event_time(settings_.now() - silent);
  refused_.clear();
  for (const auto& [pattern, weak] : topics_) {
    if (const auto held = weak.lock()) held->clear();
  }
  tell_later();
}

void tree_mirror::tree_event(const nx::json_value& params) {
  const auto& path = params["path"];
  const auto time = params.FindMember("time");
  const auto value = params.FindMember("value");
  const auto error = params.FindMember("error");
  if (time == params.MemberEnd() || !time->value.IsString()) return;
  if (value == params.MemberEnd() && error == params.MemberEnd()) return;
  put({path.GetString(), path.GetStringLength()},
      {time->value.GetString(), time->value.GetStringLength()},
      value != params.MemberEnd() ? value_member(value->value)
                                  : error_member(nx::json_rpc::error_from_value(error->value)));
}

void tree_mirror::tree_ended(const std::string& path) {
  put(path, now_text(), error_member(no_such_path(path)));
  for (const auto& [pattern, weak] : topics_) {
    if (pattern == path) refused(pattern, nx_error::not_found);
  }
}

void tree_mirror::put(const std::string& path, const std::string& time, const std::string& member) {
  std::shared_ptr<const event_frame> frame;
  for (const auto& [pattern, weak] : topics_) {
    const auto held = weak.lock();
    if (!held || !held->covers(path)) continue;
    if (!frame) frame = make_frame(path, time, member);
    if (held->put(path, frame)) tell_later();
  }
}

void tree_mirror::tell_later() {
  if (stopped_ || std::exchange(telling_, true)) return;
  pause_timer_.expires_after(settings_.event_pause);
  pause_timer_.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
    if (const auto self = weak.lock(); self && !error) self->tell();
  });
}

void tree_mirror::tell() {
  telling_ = false;
  const std::vector<mirror_watcher*> told(watchers_.begin(), watchers_.end());
  for (auto* watcher : told) {
    if (watchers_.contains(watcher)) watcher->mirror_changed();
  }
}

void tree_mirror::stop() {
  stopped_ = true;
  pause_timer_.cancel();
  retry_timer_.cancel();
}

}  // namespace gateway
