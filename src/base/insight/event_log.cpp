#include "base/insight/event_log.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "api/attach.h"
#include "api/json_support.h"
#include "api/parameter_watch.h"
#include "helpers/guard_register.h"
#include "helpers/start_report.h"
#include "helpers/waiting.h"
#include "platform/value_tree/event_frame.h"
#include "platform/value_tree/own_history.h"
#include "platform/wire/json_text.h"

namespace insight {

namespace {

constexpr std::array<const char*, static_cast<std::size_t>(event_kind::count)> names{
    "lit",
    "dark",
    "arrived",
    "exhausted",
    "guardBegan",
    "guardEnded",
    "loopDown",
    "loopUp",
    "cut",
    "mended",
    "stalled",
    "resumed",
    "peerIdentified",
    "peerLost",
    "channelAdded",
    "channelRemoved",
    "parameterWritten",
    "startFailed"};

/// A stored plan or a script is not worth its length in the log.
constexpr std::size_t longest_value = 200;

/// Writes of one parameter at most this far apart are one event: a client that writes in a loop
/// must not push everything else out of the log.
constexpr std::chrono::seconds pause_of_a_row{10};

double seconds_of(std::chrono::nanoseconds time) {
  return std::chrono::duration<double>(time).count();
}

void hear_of_guard(const helpers::guard_register::change& change) {
  // What a healthy node meets in ordinary work is not an event.
  if (change.guard.log_level < 2) return;
  std::vector<detail> details{{"guard", change.guard.name}, {"reason", change.what.reason}};
  if (!change.begins) {
    details.emplace_back("seconds", seconds_of(change.lasted));
    details.emplace_back("withheld", static_cast<double>(change.what.withheld));
  }
  event_log::instance().tell(change.begins ? event_kind::guard_began : event_kind::guard_ended,
                             change.subject, std::move(details));
}

void hear_of_parameter(const std::string& path, const std::string& value) {
  const bool fits = value.size() <= longest_value;
  event_log::instance().tell_written(path, fits ? value : value.substr(0, longest_value) + "...");
}

void append_member(std::string& text, const char* name, const std::string& value) {
  nx::append_json_string(text, name);
  text += ':';
  text += value;
}

std::string quoted(const std::string& text) {
  std::string out;
  nx::append_json_string(out, text);
  return out;
}

std::string json_of_detail(const std::variant<double, std::string>& value) {
  if (const auto* word = std::get_if<std::string>(&value)) return quoted(*word);
  const double number = std::get<double>(value);
  constexpr double thousandth = 1000.0;  // what nobody measures, nobody reads
  return std::isfinite(number)
             ? nx::json_text(nx::json_value(std::round(number * thousandth) / thousandth))
             : "null";
}

}  // namespace

const char* name_of(event_kind kind) {
  return names[static_cast<std::size_t>(kind)];
}

std::string json_of(const event& what) {
  std::string text = "{";
  append_member(text, "time", quoted(nx::event_time(what.time)));
  text += ',';
  append_member(text, "event", quoted(name_of(what.kind)));
  text += ',';
  append_member(text, "on", quoted(what.on));
  for (const auto& [name, value] : what.details) {
    text += ',';
    append_member(text, name, json_of_detail(value));
  }
  return text += '}';
}

std::string channel_subject(const char* direction, unsigned channel) {
  return std::string("client ") + direction + ' ' + std::to_string(channel);
}

/// The log on one tree. It uses the log's own lock.
class event_log::node : public nx_db_event_node, public nx::own_history {
 public:
  explicit node(const std::string& name) : nx_db_event_node(name) {}

  void get(const std::string& path, json_allocator& allocator, json_value& result) override {
    const std::lock_guard lock(log().mutex_);
    nx::api::add_member(result, path, nx::to_json(newest(), allocator), allocator);
  }

  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 json_allocator& allocator, json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override {
    const std::lock_guard log_lock(log().mutex_);
    nx_db_event_node::subscribe(session, path, allocator, result, lock);
    const auto text = newest();
    nx::api::add_member(result, path, nx::to_json(text, allocator), allocator);
    send_event_to_session_impl(nx::api::value_changed_event(*this, path, text), true,
                               std::move(session));
  }

  first_value subscribe_text(const std::shared_ptr<nx_session>& session,
                             nx_subscription_number number, first_text& first) override {
    const std::lock_guard log_lock(log().mutex_);
    begin_text(session, number, first);
    first.json = quoted(newest());
    return first_value::value;
  }

  std::vector<nx_db::history_entry> history() const override {
    std::vector<nx_db::history_entry> entries;
    for (const auto& each : log().events())
      entries.push_back({each.time, quoted(json_of(each))});
    return entries;
  }

  std::string get_info() const override { return "event log (read,subscribe)"; }
  json_value get_info(json_allocator& allocator) const override {
    json_value record = nx_db_event_node::get_info(allocator);
    nx::api::add_text(record, "type", "status value", allocator);
    nx::api::add_text(record, "valueType", "string", allocator);
    nx::api::add_capabilities(record, {"read", "subscribe"}, allocator);
    return record;
  }

  /// Called with the log's lock held.
  void send(const event& what) {
    if (db && has_subscribers()) {
      send_event_impl(nx::api::value_changed_event(*this, get_path(0), json_of(what)), false);
    }
  }

 private:
  static event_log& log() { return instance(); }
  static std::string newest() {
    return log().events_.empty() ? std::string() : json_of(log().events_.back());
  }
};

event_log::event_log() {
  helpers::guard_register::instance().set_observer(hear_of_guard);
  nx::api::watch_parameters(hear_of_parameter);
  // Not through `instance`: existing faults are reported now.
  helpers::start_report::instance().set_observer(
      [this](const std::string& subject, const std::string& text) {
        tell(event_kind::start_failed, subject, {{"reason", text}});
      });
}

event_log& event_log::instance() {
  // Outlives every static: guards may still end while the process ends.
  static auto* const the_log = new event_log;
  return *the_log;
}

// Everything up to `tell` is called with the lock held.
void event_log::send(const event& what) {
  std::erase_if(nodes_, [](const auto& each) { return each.expired(); });
  for (const auto& each : nodes_) {
    if (const auto alive = each.lock()) alive->send(what);
  }
}

void event_log::add(event what) {
  send(what);
  events_.push_back(std::move(what));
  ++told_;
  if (events_.size() > depth) events_.pop_front();
}

event* event_log::find(const written& row) {
  const auto oldest = told_ - events_.size();
  return row.number < oldest ? nullptr : &events_[row.number - oldest];
}

void event_log::tell(event_kind kind, std::string on, std::vector<detail> details) {
  event what{helpers::system_now(), kind, std::move(on), std::move(details)};
  const std::lock_guard lock(mutex_);
  add(std::move(what));
}

void event_log::tell_written(const std::string& path, const std::string& value) {
  const auto now = helpers::steady_now();
  const auto time = helpers::system_now();
  const std::lock_guard lock(mutex_);
  const auto known = written_.find(path);
  auto* open = known != written_.end() && now - known->second.last <= pause_of_a_row
                   ? find(known->second)
                   : nullptr;
  if (open == nullptr) {
    written_.insert_or_assign(path, written{.number = told_, .last = now});
    return add({time, event_kind::parameter_written, path, {{"value", value}}});
  }
  auto& row = known->second;
  row.last = now;
  ++row.writes;
  open->details = {{"value", value},
                   {"writes", static_cast<double>(row.writes)},
                   {"until", nx::event_time(time)}};
}

void event_log::settle() {
  const auto now = helpers::steady_now();
  const std::lock_guard lock(mutex_);
  std::erase_if(written_, [&](const auto& entry) {
    const auto& row = entry.second;
    if (now - row.last <= pause_of_a_row) return false;
    const auto* ended = find(row);
    if (ended != nullptr && row.writes > 1) send(*ended);
    return true;
  });
}

void event_log::publish(nx_db& db) {
  auto created = nx::api::create_node<node>(db, "insight/log");
  const std::lock_guard lock(mutex_);
  nodes_.push_back(created);
}

std::vector<event> event_log::events() const {
  const std::lock_guard lock(mutex_);
  return {events_.begin(), events_.end()};
}

void event_log::reset() {
  const std::lock_guard lock(mutex_);
  events_.clear();
  written_.clear();
}

}  // namespace insight
