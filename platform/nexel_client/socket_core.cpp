#include "platform/nexel_client/socket_core.h"

#include <rapidjson/document.h>

#include <boost/asio/post.hpp>

#include "platform/nexel_client/client_errors.h"
#include "platform/nexel_client/request_text.h"
#include "platform/nexel_client/subscription_call.h"
#include "platform/note_log/note_log.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"

namespace nx {

namespace {

using clock = std::chrono::steady_clock;

void log_error(const std::string& text) {
  note_log::write(note_log::error, "nexel_client", text);
}

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
      last_calls_(boost::asio::use_service<last_calls>(io)),
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

void socket_core::call(const nexel_request& request) {
  std::vector<outgoing> calls;
  for (const auto& object : request.get_objects()) {
    try {
      if (io_.stopped())
        throw nx_error(not_connected_code, not_connected_to(address_.text(), {}).message);
      calls.push_back({object, params_text(*object)});
    } catch (const nx_error& error) {
      object->report_local_error({error.code, error.message, object->get_path()});
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
      await_connection(std::move(call));
    if (!waiting_.empty() && phase_ == phase::pausing) attempt_soon();
  }
  watch_subscriptions();
}

void socket_core::await_connection(outgoing call) {
  if (!last_calls_.announced()) return waiting_.push_back(std::move(call));
  call.object->report_local_error(not_connected_to(address_.text(), call.object->get_path()));
}

// Output that does not even leave means that nothing is read at the other end: no probe is added.
void socket_core::start(outgoing call) {
  const auto now = clock::now();
  const bool stuck = watch_.silent() && stream_->writing();
  if (stuck || !watch_.admits(now)) {
    return call.object->report_local_error(
        no_answer_from(address_.text(), call.object->get_path()));
  }
  const auto deadline = last_calls_.limited(now + answer_watch::time_out);
  if (deadline <= now) {
    return call.object->report_local_error(
        not_connected_to(address_.text(), call.object->get_path()));
  }
  const char* method = call.object->method();
  const auto id = calls_.add(std::move(call.object), deadline);
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
    return log_error(address_.text() + " answers without an id: " + json_text(message));
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
    object->report_local_error(no_answer_from(address_.text(), object->get_path()));
  }
  watch_deadline();
}

void socket_core::line_received(std::string_view line) {
  pace_.reset();
  json_document message;
  try {
    message = parse_json(line.data(), line.size());
  } catch (const nx_error& error) {
    return log_error(address_.text() + " sends no JSON: " + error.message);
  }
  if (!message.IsObject()) return;
  if (message.HasMember("method")) return subscriptions_.receive(message);
  answer(message);
}

void socket_core::subscribe_due(time_point now) {
  for (const auto& path : subscriptions_.take_due(now)) {
    start({std::make_shared<subscription_call>(path, subscriptions_), params_text(path)});
  }
}

void socket_core::watch_subscriptions() {
  if (watching_subscriptions_ || subscriptions_.empty()) return;
  watching_subscriptions_ = true;
  subscriptions_timer_.expires_after(subscription_call::retry_interval);
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
      stream_->append(R"({"jsonrpc":"2.0","method":"unsubscribe","params":)" + params_text(path) +
                      "}");
    }
    // What was refused a moment after the last round is due now, not a round later.
    subscribe_due(clock::now() + subscription_call::retry_interval / 2);
    stream_->flush();
  }
  watch_subscriptions();
}

}  // namespace nx
