#include "platform/nexel_client/live_calls.h"

#include <iterator>

#include "platform/nexel_client/client_errors.h"
#include "platform/wire/json_rpc.h"

namespace nx {

using clock = std::chrono::steady_clock;

live_calls::live_calls(const last_calls& last, std::string address)
    : last_(last), address_(std::move(address)) {}

bool live_calls::send(std::vector<call> calls) {
  const std::lock_guard lock(mutex_);
  if (stream_) {
    start(calls, clock::now());
  } else {
    std::move(calls.begin(), calls.end(), std::back_inserter(waiting_));
  }
  const bool watched = watching_deadline_ || !calls_.next_deadline();
  if (waiting_.empty() && refused_.empty() && watched) return false;
  return !std::exchange(attended_, true);
}

void live_calls::open(std::shared_ptr<line_stream> stream, std::vector<call> first) {
  const std::lock_guard lock(mutex_);
  stream_ = std::move(stream);
  silent_ = false;
  std::move(waiting_.begin(), waiting_.end(), std::back_inserter(first));
  waiting_.clear();
  start(first, clock::now());
}

live_calls::objects live_calls::close() {
  const std::lock_guard lock(mutex_);
  stream_.reset();
  return calls_.take_all();
}

live_calls::objects live_calls::take_waiting() {
  const std::lock_guard lock(mutex_);
  objects taken;
  for (auto& waiting : std::exchange(waiting_, {}))
    taken.push_back(std::move(waiting.object));
  return taken;
}

bool live_calls::has_waiting() const {
  const std::lock_guard lock(mutex_);
  return !waiting_.empty();
}

live_calls::failures live_calls::take_refused() {
  const std::lock_guard lock(mutex_);
  attended_ = false;
  return std::exchange(refused_, {});
}

std::shared_ptr<nexel_object> live_calls::answered(std::uint64_t id) {
  const std::lock_guard lock(mutex_);
  silent_ = false;
  return calls_.take(id);
}

void live_calls::answered() {
  const std::lock_guard lock(mutex_);
  silent_ = false;
}

live_calls::objects live_calls::take_expired(time_point now) {
  const std::lock_guard lock(mutex_);
  auto expired = calls_.take_expired(now);
  silent_ = silent_ || !expired.empty();
  return expired;
}

bool live_calls::silent() const {
  const std::lock_guard lock(mutex_);
  return stream_ && silent_;
}

// A read by the client itself: no caller waits for it, and no write that its caller considers
// failed is carried out late. If pending output does not even leave, nobody is reading at the other
// end.
void live_calls::probe() {
  const std::lock_guard lock(mutex_);
  if (!stream_ || !silent_ || stream_->writing()) return;
  constexpr std::string_view root = R"({"path":""})";
  stream_->send(json_rpc::request(call_table::no_call, "list", root) + '\n');
}

std::optional<live_calls::time_point> live_calls::watch_deadline() {
  const std::lock_guard lock(mutex_);
  if (watching_deadline_) return std::nullopt;
  const auto deadline = calls_.next_deadline();
  watching_deadline_ = deadline.has_value();
  return deadline;
}

void live_calls::deadline_reached() {
  const std::lock_guard lock(mutex_);
  watching_deadline_ = false;
}

void live_calls::start(std::vector<call>& calls, time_point now) {
  std::string lines;
  for (auto& started : calls)
    start(started, now, lines);
  if (!lines.empty()) stream_->send(lines);
}

void live_calls::start(call& started, time_point now, std::string& lines) {
  auto& object = started.object;
  if (silent_) {
    const auto error = no_answer_from(address_, object->get_path());
    refused_.emplace_back(std::move(object), error);
    return;
  }
  const auto deadline = last_.limited(now + call_time_out);
  if (deadline <= now) {
    const auto error = not_connected_to(address_, object->get_path());
    refused_.emplace_back(std::move(object), error);
    return;
  }
  const char* method = object->method();
  const auto id = calls_.add(std::move(object), deadline);
  json_rpc::append_request(lines, id, method, started.params);
  lines += '\n';
}

}  // namespace nx
