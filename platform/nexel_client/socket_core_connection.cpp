// The states of a socket client: pausing, connecting, connected, closed.
#include <boost/asio/post.hpp>
#include <utility>

#include "platform/nexel_client/client_errors.h"
#include "platform/nexel_client/socket_core.h"
#include "platform/note_log/note_log.h"

namespace nx {

namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::seconds attempt_time_out{2};

void log(note_log::severity_level severity, const std::string& text) {
  note_log::write(severity, "nexel_client", text, note_log::folding::repeats);
}

}  // namespace

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
  fail_unconnected(calls_.take_waiting());
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

// The timer may have been set again after it fired and before this ran.
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
  outage_logged_ = false;
  nonsense_logged_ = false;
  log(note_log::info, "Connected to " + address_.text());
  calls_.open(stream_, due_subscriptions(clock::now()));
  attend();
  post_event(&nexel_connection_subscriber::connection_established_event);
}

void socket_core::stream_ended(const std::string& reason) {
  if (phase_ == phase::connecting) return attempt_failed(reason);
  if (phase_ == phase::connected) lost(reason);
}

// Receivers of the event may need a lock that is held across a pending call, so the calls are
// failed first.
void socket_core::lost(const std::string& reason) {
  log(note_log::warning, "Connection to " + address_.text() + " lost: " + reason);
  pause();
  fail_unconnected(calls_.close());
  subscriptions_.lost(nx_error::not_connected, not_connected_to(address_.text(), {}).message);
  post_event(&nexel_connection_subscriber::connection_lost_event);
}

void socket_core::close() {
  *open_ = false;
  boost::asio::post(strand_, [self = shared_from_this()] { self->shut_down(); });
}

void socket_core::shut_down() {
  phase_ = phase::closed;
  if (stream_) stream_->close();
  for (auto* timer : {&phase_timer_, &deadline_timer_, &subscriptions_timer_, &silence_timer_})
    timer->cancel();
  subscriptions_.cancel();
  fail_unconnected(calls_.close());
  fail_unconnected(calls_.take_waiting());
}

void socket_core::post_event(void (nexel_connection_subscriber::*event)(const std::string&)) {
  if (connection_subscriber_.expired()) return;
  events_->post([event, name = name_, to = connection_subscriber_, open = open_] {
    auto subscriber = to.lock();
    if (subscriber && *open) (subscriber.get()->*event)(name);
  });
}

}  // namespace nx
