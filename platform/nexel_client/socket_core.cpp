#include "platform/nexel_client/socket_core.h"

#include <rapidjson/document.h>

#include <boost/asio/post.hpp>

#include "platform/note_log/note_log.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/limits.h"

namespace nx {

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::seconds attempt_time_out{2};
constexpr std::chrono::seconds subscriptions_interval{1};
constexpr std::int32_t not_connected_code = -107;

void log(note_log::severity_level severity, const std::string& text) {
  note_log::write(severity, "nexel_client", text);
}

std::string params_text(const std::string& path) {
  json_document params(rapidjson::kObjectType);
  params.AddMember("path", to_json(path, params.GetAllocator()), params.GetAllocator());
  return json_text(params);
}

std::string params_text(const nexel_object& object) {
  json_document params(rapidjson::kObjectType);
  params.AddMember("path", to_json(object.get_path(), params.GetAllocator()),
                   params.GetAllocator());
  object.write_request_data(params, params.GetAllocator());
  std::string text = json_text(params);
  constexpr std::size_t envelope = 128;
  if (text.size() + envelope > limits::line_bytes) {
    throw nx_error(-22, "Request of " + std::to_string(text.size()) +
                            " bytes is beyond the limit of " + std::to_string(limits::line_bytes));
  }
  return text;
}

/// The path of a subscription request outlives the request; others' paths are their callers'.
struct path_holder {
  std::string held_path;
};

class subscription_call final : private path_holder, public nexel_object {
 public:
  subscription_call(const std::string& path, subscription_table& table)
      : path_holder{path}, nexel_object(held_path), table_(table) {}

  const char* method() const override { return "subscribe"; }
  void write_request_data(json_value&, json_allocator&) const override {}
  void process_ok_response(const json_value&) override { table_.confirmed(get_path()); }
  void process_error_response(const nx_client_exception& error) override {
    table_.refused(get_path(), error, clock::now() + subscriptions_interval);
  }
  /// A lost connection is told to all subscribers at once, not here.
  void report_local_error(const nx_client_exception& error) override {
    if (error.code != not_connected_code) process_error_response(error);
  }

 private:
  subscription_table& table_;
};

}  // namespace

std::shared_ptr<socket_core> socket_core::create(
    boost::asio::io_context& io, nexel_address address, std::string name,
    std::weak_ptr<nexel_connection_subscriber> connection_subscriber) {
  std::shared_ptr<socket_core> core(
      new socket_core(io, std::move(address), std::move(name), std::move(connection_subscriber)));
  boost::asio::post(core->strand_, [weak = std::weak_ptr(core)] {
    auto self = weak.lock();
    if (self && self->phase_ == phase::pausing) self->attempt();
  });
  return core;
}

socket_core::socket_core(boost::asio::io_context& io, nexel_address address, std::string name,
                         std::weak_ptr<nexel_connection_subscriber> connection_subscriber)
    : io_(io),
      strand_(io.get_executor()),
      address_(std::move(address)),
      name_(std::move(name)),
      connection_subscriber_(std::move(connection_subscriber)),
      pace_(static_cast<unsigned>(std::hash<std::string>()(address_.text() + name_))),
      phase_timer_(strand_),
      deadline_timer_(strand_),
      subscriptions_timer_(strand_) {}

socket_core::~socket_core() {
  shut_down();
}

bool socket_core::on_io_thread() const {
  return io_.get_executor().running_in_this_thread();
}

// --- Calls ---

void socket_core::call(const nexel_request& request) {
  std::vector<outgoing> calls;
  for (const auto& object : request.get_objects()) {
    const std::string path = object->get_path();
    try {
      if (io_.stopped()) throw nx_error(not_connected_code, not_connected(path).message);
      calls.push_back({object, path, params_text(*object)});
    } catch (const nx_error& error) {
      object->report_local_error({error.code, error.message, path});
    }
  }
  put_into_inbox(std::move(calls), nullptr);
}

void socket_core::subscribe(std::shared_ptr<nexel_subscriber> subscriber) {
  put_into_inbox({}, std::move(subscriber));
}

void socket_core::put_into_inbox(std::vector<outgoing> calls,
                                 std::shared_ptr<nexel_subscriber> subscriber) {
  {
    std::lock_guard lock(inbox_mutex_);
    const bool drain_is_on_its_way = !inbox_.empty() || !new_subscribers_.empty();
    for (auto& call : calls)
      inbox_.push_back(std::move(call));
    if (subscriber) new_subscribers_.push_back(std::move(subscriber));
    if (drain_is_on_its_way) return;
  }
  boost::asio::post(strand_, [self = shared_from_this()] { self->drain_inbox(); });
}

void socket_core::drain_inbox() {
  std::vector<outgoing> calls;
  std::vector<std::shared_ptr<nexel_subscriber>> subscribers;
  {
    std::lock_guard lock(inbox_mutex_);
    calls.swap(inbox_);
    subscribers.swap(new_subscribers_);
  }
  for (const auto& subscriber : subscribers)
    subscriptions_.add(subscriber);
  if (phase_ == phase::connected) {
    subscribe_due(clock::now());
    for (auto& call : calls)
      start(std::move(call));
    stream_->flush();
  } else {
    for (auto& call : calls)
      waiting_.push_back(std::move(call));
    if (!waiting_.empty() && phase_ == phase::pausing) attempt_soon();
  }
  watch_subscriptions();
}

// Output that does not even leave means that nothing is read at the other end: no probe is added.
void socket_core::start(outgoing call) {
  const auto now = clock::now();
  const bool stuck = watch_.silent() && stream_->writing();
  if (stuck || !watch_.admits(now)) {
    return call.object->report_local_error({-110, no_answer_text(), call.path});
  }
  const char* method = call.object->method();
  const auto id = calls_.add(std::move(call.object), now + answer_watch::time_out);
  stream_->append(json_rpc::request(id, method, std::string_view(call.params)));
  watch_deadline();
}

void socket_core::answer(const json_value& message) {
  const auto id = message.FindMember("id");
  if (id == message.MemberEnd()) return;
  watch_.answered();
  const auto error = message.FindMember("error");
  const auto result = message.FindMember("result");
  if (!id->value.IsUint64()) {
    return log(note_log::error, address_.text() + " answers without an id: " + json_text(message));
  }
  auto object = calls_.take(id->value.GetUint64());
  if (!object) return;
  if (result != message.MemberEnd()) return object->process_ok_response(result->value);
  const json_value none;
  const auto fault = json_rpc::error_from_value(error == message.MemberEnd() ? none : error->value);
  object->process_error_response({fault.code, fault.message, object->get_path()});
}

void socket_core::watch_deadline() {
  const auto deadline = calls_.next_deadline();
  if (watching_deadline_ || !deadline) return;
  watching_deadline_ = true;
  deadline_timer_.expires_at(*deadline);
  deadline_timer_.async_wait([weak = weak_from_this()](const auto&) {
    auto self = weak.lock();
    if (!self) return;
    self->watching_deadline_ = false;
    self->expire_calls();
  });
}

void socket_core::expire_calls() {
  const auto now = clock::now();
  const auto expired = calls_.take_expired(now);
  if (!expired.empty()) watch_.timed_out(now);
  for (const auto& object : expired) {
    object->report_local_error({-110, no_answer_text(), object->get_path()});
  }
  watch_deadline();
}

// --- The connection ---

void socket_core::attempt() {
  const auto now = clock::now();
  phase_ = phase::connecting;
  pace_.attempt_started(now);
  arm_phase_timer(now + attempt_time_out);
  const auto stream = std::make_shared<line_stream>(strand_, weak_from_this());
  stream_ = stream;
  stream->connect(address_);  // may fail at once, and drop it
}

void socket_core::attempt_soon() {
  const auto now = clock::now();
  const auto due = pace_.on_demand(now);
  if (due <= now) return attempt();
  if (due < phase_due_) arm_phase_timer(due);
}

void socket_core::attempt_failed(const std::string& reason) {
  if (!outage_logged_) {
    log(note_log::warning, "Not connected: " + address_.text() + ": " + reason);
  }
  outage_logged_ = true;
  pause();
  for (auto& call : std::exchange(waiting_, {})) {
    call.object->report_local_error(not_connected(call.path));
  }
}

void socket_core::pause() {
  phase_ = phase::pausing;
  stream_->close();
  stream_.reset();
  arm_phase_timer(clock::now() + pace_.next_pause());
}

void socket_core::arm_phase_timer(time_point due) {
  phase_due_ = due;
  phase_timer_.expires_at(due);
  phase_timer_.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
    if (auto self = weak.lock(); self && !error) self->phase_timer_fired();
  });
}

// The timer may have been set anew after it fired and before this ran.
void socket_core::phase_timer_fired() {
  if (clock::now() < phase_due_) return;
  if (phase_ == phase::pausing) {
    attempt();
  } else if (phase_ == phase::connecting) {
    attempt_failed("no connection within 2 s");
  }
}

void socket_core::stream_opened() {
  phase_ = phase::connected;
  watch_ = answer_watch();
  outage_logged_ = false;
  log(note_log::info, "Connected to " + address_.text());
  subscribe_due(clock::now());
  for (auto& call : std::exchange(waiting_, {}))
    start(std::move(call));
  stream_->flush();
  post_event(&nexel_connection_subscriber::connection_established_event);
}

void socket_core::stream_ended(const std::string& reason) {
  if (phase_ == phase::connecting) return attempt_failed(reason);
  if (phase_ == phase::connected) lost(reason);
}

// Receivers of the event may want a lock that a pending call is made under: so the calls go first.
void socket_core::lost(const std::string& reason) {
  log(note_log::warning, "Connection to " + address_.text() + " lost: " + reason);
  pause();
  for (const auto& object : calls_.take_all()) {
    object->report_local_error(not_connected(object->get_path()));
  }
  subscriptions_.lost(not_connected_code, not_connected({}).message);
  post_event(&nexel_connection_subscriber::connection_lost_event);
}

void socket_core::close() {
  *open_ = false;
  boost::asio::post(strand_, [self = shared_from_this()] { self->shut_down(); });
}

void socket_core::shut_down() {
  phase_ = phase::closed;
  if (stream_) stream_->close();
  for (auto* timer : {&phase_timer_, &deadline_timer_, &subscriptions_timer_})
    timer->cancel();
  subscriptions_.cancel();
  for (const auto& object : calls_.take_all()) {
    object->report_local_error(not_connected(object->get_path()));
  }
  {
    std::lock_guard lock(inbox_mutex_);
    for (auto& call : std::exchange(inbox_, {}))
      waiting_.push_back(std::move(call));
  }
  for (auto& call : std::exchange(waiting_, {})) {
    call.object->report_local_error(not_connected(call.path));
  }
}

void socket_core::post_event(void (nexel_connection_subscriber::*event)(const std::string&)) {
  if (connection_subscriber_.expired()) return;
  events_->post([event, name = name_, to = connection_subscriber_, open = open_] {
    auto subscriber = to.lock();
    if (subscriber && *open) (subscriber.get()->*event)(name);
  });
}

// --- Subscriptions and events ---

void socket_core::line_received(std::string_view line) {
  pace_.reset();
  json_document message;
  try {
    message = parse_json(line.data(), line.size());
  } catch (const nx_error& error) {
    return log(note_log::error, address_.text() + " sends no JSON: " + error.message);
  }
  if (!message.IsObject()) return;
  if (message.HasMember("method")) return subscriptions_.receive(message);
  answer(message);
}

void socket_core::subscribe_due(time_point now) {
  for (const auto& path : subscriptions_.take_due(now)) {
    start({std::make_shared<subscription_call>(path, subscriptions_), path, params_text(path)});
  }
}

void socket_core::watch_subscriptions() {
  if (watching_subscriptions_ || subscriptions_.empty()) return;
  watching_subscriptions_ = true;
  subscriptions_timer_.expires_after(subscriptions_interval);
  subscriptions_timer_.async_wait([weak = weak_from_this()](const auto&) {
    auto self = weak.lock();
    if (!self) return;
    self->watching_subscriptions_ = false;
    self->tend_subscriptions();
  });
}

/// Once a second: ends what nobody listens to, and asks again for what was refused.
void socket_core::tend_subscriptions() {
  const auto abandoned = subscriptions_.take_abandoned();
  if (phase_ == phase::connected) {
    for (const auto& path : abandoned) {
      json_document params(rapidjson::kObjectType);
      params.AddMember("path", to_json(path, params.GetAllocator()), params.GetAllocator());
      stream_->append(json_rpc::notification("unsubscribe", params));
    }
    // What was refused a moment after the last round is due now, not a round later.
    subscribe_due(clock::now() + subscriptions_interval / 2);
    stream_->flush();
  }
  watch_subscriptions();
}

nx_client_exception socket_core::not_connected(const std::string& path) const {
  return {not_connected_code, "Not connected: " + address_.text(), path};
}

std::string socket_core::no_answer_text() const {
  return "No answer within 2 s: " + address_.text();
}

}  // namespace nx
