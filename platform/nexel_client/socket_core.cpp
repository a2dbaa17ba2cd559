#include "platform/nexel_client/socket_core.h"

#include <rapidjson/document.h>

#include <array>
#include <boost/asio/post.hpp>
#include <cassert>
#include <utility>

#include "platform/nexel_client/client_errors.h"
#include "platform/nexel_client/request_text.h"
#include "platform/note_log/note_log.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"

namespace nx {

namespace {

using clock = std::chrono::steady_clock;

/// Between a refused subscription and the next try.
constexpr std::chrono::seconds retry_interval{1};

/// The request behind a subscription: its result goes to the table.
class subscription_call final : public nexel_object {
 public:
  subscription_call(const std::string& path, subscription_table& table)
      : nexel_object(path), table_(table) {}

  const char* method() const override { return "subscribe"; }
  void write_request_data(json_value&, json_allocator&) const override {}
  void process_ok_response(const json_value&) override { table_.confirmed(get_path()); }
  void process_error_response(const nx_client_exception& error) override {
    table_.refused(get_path(), error, clock::now() + retry_interval);
  }
  /// A lost connection is reported to all subscribers at once, not here.
  void report_local_error(const nx_client_exception& error) override {
    if (error.code != nx_error::not_connected) process_error_response(error);
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
      last_calls_(boost::asio::use_service<last_calls>(io)),
      strand_(io.get_executor()),
      address_(std::move(address)),
      calls_(last_calls_, address_.text()),
      name_(std::move(name)),
      connection_subscriber_(std::move(connection_subscriber)),
      pace_(static_cast<unsigned>(std::hash<std::string>()(address_.text() + name_))),
      phase_timer_(strand_),
      deadline_timer_(strand_),
      subscriptions_timer_(strand_),
      silence_timer_(strand_) {}

socket_core::~socket_core() {
  shut_down();
}

bool socket_core::on_io_thread() const {
  return io_.get_executor().running_in_this_thread();
}

void socket_core::call(const nexel_request& request) {
  std::vector<live_calls::call> calls;
  for (const auto& object : request.get_objects()) {
    try {
      if (io_.stopped())
        throw nx_error(nx_error::not_connected, not_connected_to(address_.text(), {}).message);
      calls.push_back({object, object->params_text()});
    } catch (const nx_error& error) {
      object->report_local_error({error.code, error.message, object->get_path()});
    }
  }
  send(std::move(calls));
}

void socket_core::send(std::vector<live_calls::call> calls) {
  if (!calls_.send(std::move(calls))) return;
  boost::asio::post(strand_, [self = shared_from_this()] { self->attend(); });
}

void socket_core::subscribe(std::shared_ptr<nexel_subscriber> subscriber) {
  {
    const std::lock_guard lock(new_subscribers_mutex_);
    new_subscribers_.push_back(std::move(subscriber));
    if (new_subscribers_.size() > 1) return;
  }
  boost::asio::post(strand_, [self = shared_from_this()] { self->add_new_subscribers(); });
}

void socket_core::attend() {
  assert(on_io_thread());
  for (const auto& [object, error] : calls_.take_refused())
    object->report_local_error(error);
  if (phase_ == phase::closed || last_calls_.announced()) fail_unconnected(calls_.take_waiting());
  if (phase_ == phase::pausing && calls_.has_waiting()) attempt_soon();
  watch_deadline();
}

void socket_core::add_new_subscribers() {
  std::vector<std::shared_ptr<nexel_subscriber>> subscribers;
  {
    const std::lock_guard lock(new_subscribers_mutex_);
    subscribers.swap(new_subscribers_);
  }
  for (const auto& subscriber : subscribers)
    subscriptions_.add(subscriber);
  if (phase_ == phase::connected) send(due_subscriptions(clock::now()));
  watch_subscriptions();
}

void socket_core::fail_unconnected(const live_calls::objects& calls) {
  for (const auto& object : calls)
    object->report_local_error(not_connected_to(address_.text(), object->get_path()));
}

void socket_core::answer(const json_value& message) {
  const auto* id = member_of(message, "id");
  if (!id) return;
  if (!id->IsUint64()) {
    calls_.answered();
    return log_nonsense(" answers without an id: " + json_text(message));
  }
  pace_.reset();
  auto object = calls_.answered(id->GetUint64());
  if (!object) return;
  if (const auto* result = member_of(message, "result")) {
    return object->process_ok_response(*result);
  }
  const json_value none;
  const auto* error = member_of(message, "error");
  const auto fault = json_rpc::error_from_value(error ? *error : none);
  object->process_error_response({fault.code, fault.message, object->get_path()});
}

void socket_core::answer(plain_result& answer) {
  pace_.reset();
  const auto object = calls_.answered(answer.id);
  if (!object) return;
  // Room for one member, so that nothing is allocated.
  std::array<char, 2048> room;
  json_allocator allocator(room.data(), room.size());
  json_value result(rapidjson::kObjectType);
  const auto size = static_cast<rapidjson::SizeType>(answer.path.size());
  result.AddMember(json_value(rapidjson::StringRef(answer.path.data(), size)), answer.value,
                   allocator);
  object->process_ok_response(result);
}

void socket_core::watch_deadline() {
  const auto deadline = calls_.watch_deadline();
  if (!deadline) return;
  deadline_timer_.expires_at(*deadline);
  deadline_timer_.async_wait([weak = weak_from_this()](const auto&) {
    auto self = weak.lock();
    if (!self) return;
    self->calls_.deadline_reached();
    self->expire_calls();
  });
}

void socket_core::expire_calls() {
  for (const auto& object : calls_.take_expired(clock::now()))
    object->report_local_error(no_answer_from(address_.text(), object->get_path()));
  watch_deadline();
  watch_silence();
}

/// Once a second while the nexel is silent: asks whether it is back.
void socket_core::watch_silence() {
  constexpr std::chrono::seconds interval(1);
  if (watching_silence_ || !calls_.silent()) return;
  watching_silence_ = true;
  silence_timer_.expires_after(interval);
  silence_timer_.async_wait([weak = weak_from_this()](const auto&) {
    auto self = weak.lock();
    if (!self) return;
    self->watching_silence_ = false;
    self->calls_.probe();
    self->watch_silence();
  });
}

void socket_core::line_received(std::string_view line) {
  if (const auto event = read_plain_event(line)) {
    pace_.reset();
    return subscriptions_.changed(event->path, event->value);
  }
  if (auto result = read_plain_result(line)) return answer(*result);
  json_document message;
  try {
    message = parse_json(line.data(), line.size());
  } catch (const nx_error& error) {
    return log_nonsense(" sends no JSON: " + error.message);
  }
  if (!message.IsObject()) return;
  if (message.HasMember("method")) {
    pace_.reset();
    return subscriptions_.receive(message);
  }
  answer(message);
}

/// Once per connection: a service that is out of order sends it line after line.
void socket_core::log_nonsense(const std::string& what) {
  constexpr std::size_t longest = 200;
  if (std::exchange(nonsense_logged_, true)) return;
  const bool too_long = what.size() > longest;
  note_log::write(note_log::error, "nexel_client",
                  address_.text() + (too_long ? what.substr(0, longest) + "..." : what),
                  note_log::folding::repeats);
}

std::vector<live_calls::call> socket_core::due_subscriptions(time_point now) {
  std::vector<live_calls::call> calls;
  for (const auto& path : subscriptions_.take_due(now)) {
    calls.push_back({std::make_shared<subscription_call>(path, subscriptions_), params_text(path)});
  }
  return calls;
}

void socket_core::watch_subscriptions() {
  if (watching_subscriptions_ || subscriptions_.empty()) return;
  watching_subscriptions_ = true;
  subscriptions_timer_.expires_after(retry_interval);
  subscriptions_timer_.async_wait([weak = weak_from_this()](const auto&) {
    auto self = weak.lock();
    if (!self) return;
    self->watching_subscriptions_ = false;
    self->tend_subscriptions();
  });
}

/// Once a second: ends subscriptions without a listener, and retries refused ones.
void socket_core::tend_subscriptions() {
  const auto abandoned = subscriptions_.take_abandoned();
  if (phase_ == phase::connected) {
    for (const auto& path : abandoned) {
      stream_->send(R"({"jsonrpc":"2.0","method":"unsubscribe","params":)" + params_text(path) +
                    "}\n");
    }
    // Subscriptions refused just after the last round are due now, not a round later.
    send(due_subscriptions(clock::now() + retry_interval / 2));
  }
  watch_subscriptions();
}

}  // namespace nx
