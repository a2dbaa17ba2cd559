#include "gateway/tree/tree_link.h"

#include <rapidjson/document.h>

#include <boost/asio/post.hpp>
#include <random>
#include <utility>

#include "platform/nexel_client/request_text.h"
#include "platform/note_log/note_log.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/nx_error.h"
#include "platform/wire/socket_path.h"

namespace gateway {

namespace {

/// Every daemon has it, and answers at once.
constexpr const char* probed = "data/product";

void log(note_log::severity_level severity, const std::string& text) {
  note_log::write(severity, "gateway", text);
}

}  // namespace

std::shared_ptr<tree_link> tree_link::create(boost::asio::io_context& io,
                                             const std::string& socket_path,
                                             const settings& bounds) {
  return std::shared_ptr<tree_link>(new tree_link(io, socket_path, bounds));
}

tree_link::tree_link(boost::asio::io_context& io, const std::string& socket_path,
                     const settings& bounds)
    : strand_(io.get_executor()),
      address_(nx::nexel_address::unix_socket(nx::rooted_path(socket_path))),
      patience_(bounds.tree_answer),
      silence_(bounds.tree_silence),
      pace_(std::random_device{}()),
      pause_timer_(strand_),
      deadline_timer_(strand_),
      silence_timer_(strand_) {}

void tree_link::start(std::weak_ptr<listener> receiver) {
  listener_ = std::move(receiver);
  boost::asio::post(strand_, [self = shared_from_this()] { self->attempt(); });
}

void tree_link::stop() {
  stopped_ = true;
  up_ = false;
  pause_timer_.cancel();
  deadline_timer_.cancel();
  silence_timer_.cancel();
  if (stream_) stream_->close();
  stream_.reset();
  fail_all();
}

void tree_link::call(const std::string& method, const std::string& params_text, answered done) {
  if (!up_) {
    const nx_error error(nx_error::not_connected, "Not connected: " + address());
    return done(nullptr, &error);
  }
  ask(method, params_text, std::move(done));
}

void tree_link::ask(const std::string& method, const std::string& params_text, answered done) {
  const auto id = ++last_id_;
  pending_.emplace(id, pending{clock::now() + patience_, std::move(done)});
  stream_->send(nx::json_rpc::request(id, method, params_text) + "\n");
  watch_deadline();
}

void tree_link::attempt() {
  if (stopped_) return;
  pace_.attempt_started(clock::now());
  stream_ = std::make_shared<nx::line_stream>(strand_, weak_from_this());
  const auto held = stream_;  // it may fail at once, and be dropped
  held->connect(address_);
}

void tree_link::attempt_later() {
  if (stopped_) return;
  pause_timer_.expires_after(pace_.next_pause());
  pause_timer_.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
    if (const auto self = weak.lock(); self && !error) self->attempt();
  });
}

void tree_link::stream_opened() {
  heard_at_ = clock::now();
  probe();
  watch_silence();
}

void tree_link::watch_silence() {
  silence_timer_.expires_after(silence_);
  silence_timer_.async_wait([weak = weak_from_this(), watched = std::weak_ptr(stream_)](
                                const boost::system::error_code& error) {
    const auto self = weak.lock();
    const auto stream = watched.lock();
    // It may have been on its way when the stream ended.
    if (!self || error || !stream || stream != self->stream_) return;
    if (clock::now() - self->heard_at_ >= self->silence_) self->probe();
    self->watch_silence();
  });
}

// Any answer will do, and so does anything else that comes meanwhile.
void tree_link::probe() {
  if (std::exchange(probing_, true)) return;
  const auto asked_at = clock::now();
  ask("get", nx::params_text(probed), [this, asked_at](const auto*, const nx_error* error) {
    probing_ = false;
    if (!error || (error->code != nx_error::no_answer && error->code != nx_error::not_connected)) {
      return found();
    }
    if (error->code != nx_error::no_answer || heard_at_ > asked_at) return;
    stream_->close();
    lose(error->message,
         std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - heard_at_));
  });
}

void tree_link::found() {
  if (std::exchange(up_, true)) return;
  outage_logged_ = false;
  log(note_log::info, "Connected: " + address());
  if (const auto told = listener_.lock()) told->tree_connected();
}

void tree_link::stream_ended(const std::string& reason) {
  if (!stopped_) lose("Not connected: " + address() + ": " + reason, {});
}

void tree_link::lose(const std::string& reason, std::chrono::milliseconds silent) {
  if (!std::exchange(outage_logged_, true)) log(note_log::warning, reason);
  const bool was_up = std::exchange(up_, false);
  silence_timer_.cancel();
  stream_.reset();
  fail_all();
  if (const auto told = listener_.lock(); told && was_up) told->tree_lost(silent);
  attempt_later();
}

void tree_link::fail_all() {
  const nx_error error(nx_error::not_connected, "Not connected: " + address());
  for (auto& [id, one] : std::exchange(pending_, {}))
    one.done(nullptr, &error);
}

void tree_link::watch_deadline() {
  if (watching_ || pending_.empty()) return;
  watching_ = true;
  deadline_timer_.expires_at(pending_.begin()->second.deadline);
  deadline_timer_.async_wait([weak = weak_from_this()](const boost::system::error_code& error) {
    if (const auto self = weak.lock(); self && !error) self->expire();
  });
}

void tree_link::expire() {
  watching_ = false;
  const auto now = clock::now();
  const nx_error error(nx_error::no_answer, "No answer in time: " + address());
  while (!pending_.empty() && pending_.begin()->second.deadline <= now) {
    const auto done = std::move(pending_.extract(pending_.begin()).mapped().done);
    done(nullptr, &error);
  }
  watch_deadline();
}

void tree_link::line_received(std::string_view line) try {
  pace_.reset();
  heard_at_ = clock::now();
  const auto message = nx::parse_json(line.data(), line.size());
  if (message.IsObject()) receive(message);
} catch (const nx_error& error) {
  log(note_log::error, "No JSON from " + address() + ": " + error.message);
}

void tree_link::receive(const nx::json_value& message) {
  const auto method = message.FindMember("method");
  if (method == message.MemberEnd()) return receive_answer(message);
  const auto params = message.FindMember("params");
  if (params == message.MemberEnd() || !params->value.IsObject()) return;
  const auto path = params->value.FindMember("path");
  const auto told = listener_.lock();
  if (!told || path == params->value.MemberEnd() || !path->value.IsString()) return;
  if (method->value == "event") told->tree_event(params->value);
  if (method->value == "ended") {
    told->tree_ended(std::string(path->value.GetString(), path->value.GetStringLength()));
  }
}

void tree_link::receive_answer(const nx::json_value& message) {
  const auto id = message.FindMember("id");
  if (id == message.MemberEnd() || !id->value.IsUint64()) return;
  auto found = pending_.extract(id->value.GetUint64());
  if (found.empty()) return;  // it has been given up
  const auto result = message.FindMember("result");
  if (result != message.MemberEnd()) return found.mapped().done(&result->value, nullptr);
  const auto fault = message.FindMember("error");
  const nx::json_value none;
  const auto error =
      nx::json_rpc::error_from_value(fault == message.MemberEnd() ? none : fault->value);
  found.mapped().done(nullptr, &error);
}

}  // namespace gateway
