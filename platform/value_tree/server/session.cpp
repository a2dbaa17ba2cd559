#include "platform/value_tree/server/session.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <cassert>

#include "platform/note_log/note_log.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/server/runtime_impl.h"
#include "platform/wire/json_rpc.h"

namespace nx {
namespace {

// Requests are left unread while this much output is pending, so that a client that asks faster
// than it reads is slowed down instead of being closed.
constexpr std::size_t pause_bytes = 1024 * 1024;
constexpr std::size_t lines_per_job = 64;
// After this time others have their turn.
constexpr std::chrono::microseconds turn_on_io_thread{500};
constexpr std::chrono::milliseconds turn_on_worker{5};
// Read-ahead while a worker is busy: enough to notice that the client has gone.
constexpr std::size_t read_ahead_bytes = 64 * 1024;

std::string too_long_answer() {
  return json_rpc::error_without_id(
      {json_rpc::parse_error, fmt::format("Line longer than {} bytes", limits::line_bytes)});
}

// Reading the clock costs as much as a small answer, so a turn does it only now and then.
class turn_watch {
 public:
  explicit turn_watch(std::chrono::steady_clock::time_point began)
      : end_(began + turn_on_io_thread) {}

  // Checked after each line; bytes of input and output.
  bool is_over(std::size_t bytes) {
    constexpr std::size_t bytes_a_look = 8 * 1024;
    constexpr std::size_t bytes_a_line = 256;  // cost of a line, whatever its length
    since_look_ += bytes_a_line + bytes;
    if (since_look_ < bytes_a_look) return false;
    since_look_ = 0;
    return std::chrono::steady_clock::now() > end_;
  }

 private:
  const std::chrono::steady_clock::time_point end_;
  std::size_t since_look_ = 0;
};

}  // namespace

session::session(std::shared_ptr<session_host> host, socket stream, access rights, std::string name)
    : host_(std::move(host)),
      name_(std::move(name)),
      handler_(host_->db, rights, this),
      outbox_(&host_->waiting_answers) {
  auto& io = *host_->runtime.io;
  connection_.emplace(
      connection{std::move(stream), boost::asio::steady_timer(io), boost::asio::steady_timer(io)});
}

std::shared_ptr<session> session::self() {
  return std::static_pointer_cast<session>(shared_from_this());
}

void session::start() {
  boost::system::error_code ignored;
  connection_->stream.non_blocking(true, ignored);
  {
    const std::lock_guard lock(sending_mutex_);
    descriptor_ = connection_->stream.native_handle();
    local_ = connection_->stream.local_endpoint(ignored).protocol().family() == AF_UNIX;
  }
  read();
}

void session::read() {
  if (reading_) return;
  reading_ = true;
  connection_->stream.async_read_some(
      boost::asio::buffer(input_),
      [self = self()](const boost::system::error_code& failed, std::size_t size) {
        self->on_read(failed, size);
      });
}

void session::on_read(const boost::system::error_code& failed, std::size_t size) {
  assert(host_->runtime.on_io_thread());
  reading_ = false;
  if (closed_) return;
  if (failed && failed != boost::asio::error::eof) return close({});
  ended_ = ended_ || failed;
  if (ended_ && !look_whether_gone()) watch_whether_gone();
  if (closed_) return;
  if (host_->fault == server_fault::hung) return ended_ ? close({}) : read();
  splitter_.append({input_.data(), size});
  if (!busy_) return process();
  if (!ended_ && splitter_.waiting() < read_ahead_bytes) read();
}

// A client that has closed its unix socket reads no answers; one that has only shut down sending
// does. Over TCP the two look alike: a session that may only read is assumed to be gone, one that
// may write to be there.
bool session::has_hung_up() {
  pollfd looked{.fd = connection_->stream.native_handle(), .events = POLLRDHUP, .revents = 0};
  if (::poll(&looked, 1, 0) != 1) return false;
  const auto ends = POLLHUP | POLLERR | (handler_.rights() == access::read_only ? POLLRDHUP : 0);
  return (looked.revents & ends) != 0;
}

// Its place is free for another; its writes are still carried out.
bool session::look_whether_gone() {
  if (gone_ || !has_hung_up()) return gone_;
  gone_ = true;
  host_->client_gone(self());
  if (busy_ && !may_leave(job_bytes_)) close({});
  return true;
}

// Sessions are counted, but clients that have gone are not: what they left to do is limited by its
// size. Where nobody writes nothing is left.
bool session::may_leave(std::size_t bytes) {
  if (handler_.rights() == access::read_only) return false;
  bytes += splitter_.waiting();
  const bool was_let_in = bytes <= left_bytes_;  // and is not dropped for what others leave since
  host_->left_bytes += bytes - left_bytes_;
  left_bytes_ = bytes;
  if (was_let_in || host_->left_bytes <= limits::left_bytes_of_server) return true;
  note_log::write(note_log::warning, "nexel_api",
                  fmt::format("Dropped requests of clients that have gone, more than {} bytes wait",
                              limits::left_bytes_of_server));
  return false;
}

// One that has only ended its sending may go while its requests still wait for their turn.
void session::watch_whether_gone() {
  connection_->stream.async_wait(socket::wait_error,
                                 [self = self()](const boost::system::error_code& failed) {
                                   if (failed || self->closed_) return;
                                   if (!self->look_whether_gone()) self->watch_whether_gone();
                                 });
}

bool session::is_paused() const {
  return outbox_.waiting_bytes() > pause_bytes;
}

void session::process() {
  host_->runtime.in_one_turn([this] { process_lines(); });
}

void session::process_lines() {
  stalled_ = false;
  for (bool more = true; more && !busy_ && !closed_;) {
    if (is_paused()) {
      flush();
      stalled_ = is_paused();  // continues once the client has taken answers
      if (stalled_) return;
    }
    if (!subscribe_added_at_once()) return flush();  // a worker is at work: nobody waits for that
    more = handle_lines();
    flush();
    if (more && !busy_ && !closed_) return process_soon();
  }
  if (closed_) return;
  if (!ended_) return read();
  if (!busy_ && !blocked_ && backlog_.empty()) close({});
}

// Memory is limited for all sessions together: requests that take much of it wait until some
// sessions have taken their answers, or are closed because they do not.
bool session::no_room_for_large() const {
  return host_->waiting_answers > limits::answer_bytes_of_server;
}

void session::process_later() {
  constexpr std::chrono::milliseconds pause{100};
  connection_->room_timer.expires_after(pause);
  connection_->room_timer.async_wait([self = self()](const boost::system::error_code& cancelled) {
    if (!cancelled && !self->closed_ && !self->busy_) self->process();
  });
}

// After the other sessions' work.
void session::process_soon() {
  boost::asio::post(*host_->runtime.io, [self = self()] {
    if (!self->closed_ && !self->busy_) self->process();
  });
}

void session::resume() {
  flush();
  if (!closed_ && !busy_) process();
}

// False if no line is waiting any more.
bool session::handle_lines() {
  turn_began_ = std::chrono::steady_clock::now();
  turn_watch watch(turn_began_);
  std::string answers;
  std::string storage;
  std::string_view line;
  std::vector<std::string> waiting;
  auto takes = effort::at_once;
  bool more = true;
  while (waiting.empty() && answers.size() < pause_bytes && (more = next_line(storage, line))) {
    const auto before = answers.size();
    if (before > 0) answers += '\n';
    if (before == 0 && hears_) outbox_.keep_place();
    const auto start = answers.size();
    if (line.empty()) {
      answers += too_long_answer();
    } else {
      takes = handler_.answer_within(effort::at_once, line, answers);
      if (takes == effort::heavy && look_whether_gone()) {
        takes = handler_.answer_within(effort::at_once, line, answers);
      }
      if (takes == effort::heavy && no_room_for_large()) {
        backlog_.emplace_front(line);
        answers.resize(before);
        outbox_.add_answer(std::move(answers));
        process_later();
        return false;
      }
      if (takes > effort::at_once) waiting = lines_for_worker(line);
    }
    if (answers.size() == start) answers.resize(before);
    if (watch.is_over(line.size() + answers.size() - before)) break;
  }
  // Before the worker can add its own.
  outbox_.add_answer(std::move(answers));
  if (!waiting.empty()) dispatch(std::move(waiting), takes);
  return more;
}

// An empty line stands for one that was too long.
bool session::next_line(std::string& storage, std::string_view& line) {
  if (!backlog_.empty()) {
    storage = std::move(backlog_.front());
    backlog_.pop_front();
    line = storage;
    return true;
  }
  const auto next = splitter_.next();
  if (next) {
    line = next->text;
    last_asked_ = turn_began_;
  }
  return next.has_value();
}

// The lines after one that may block would have to wait for it anyway, so all are handed over at
// once.
std::vector<std::string> session::lines_for_worker(std::string_view first) {
  std::vector<std::string> lines{std::string(first)};
  std::string storage;
  std::string_view line;
  while (lines.size() < lines_per_job && next_line(storage, line))
    lines.emplace_back(line);
  return lines;
}

void session::dispatch(std::vector<std::string> lines, effort takes) {
  job_bytes_ = 0;
  for (const auto& line : lines)
    job_bytes_ += line.size();
  if (gone_ && !may_leave(job_bytes_)) return close({});
  start_job(takes, [this, waiting = std::move(lines), takes]() mutable {
    run_lines(waiting, takes);
    return std::move(waiting);
  });
}

void session::start_job(effort takes, std::function<std::vector<std::string>()> job) {
  busy_ = true;
  host_->job_started();
  auto& runtime = host_->runtime;
  auto& pool = takes == effort::heavy ? *runtime.heavy_workers : *runtime.workers;
  pool.post([self = self(), work = std::move(job)] {
    auto left = work();
    boost::asio::post(*self->host_->runtime.io, [self, lines = std::move(left)]() mutable {
      self->job_done(std::move(lines));
    });
    self->host_->job_done();
  });
}

// On a worker. Leaves lines unprocessed if others must have their turn, the client does not take
// its answers, or the next line is for a worker of the other kind.
void session::run_lines(std::vector<std::string>& lines, effort allowed) {
  const auto end = std::chrono::steady_clock::now() + turn_on_worker;
  auto line = lines.begin();
  const auto no_room = [&] { return allowed == effort::heavy && no_room_for_large(); };
  while (line != lines.end() && !closed_ && !is_paused() && !no_room()) {
    std::string text;
    if (line->empty()) {
      text = too_long_answer();
    } else if (handler_.answer_within(allowed, *line, text) > allowed) {
      break;
    }
    if (host_->fault == server_fault::hung) text.clear();
    const bool more = ++line != lines.end();
    wake(outbox_.add_answer(std::move(text)) && more);
    if (std::chrono::steady_clock::now() > end) break;
  }
  lines.erase(lines.begin(), line);
}

void session::job_done(std::vector<std::string> left) {
  busy_ = false;
  backlog_.insert(backlog_.begin(), std::make_move_iterator(left.begin()),
                  std::make_move_iterator(left.end()));
  if (closed_) return finish();
  process();
}

void session::wake(bool needed) {
  if (needed) delivery_batch::wake(host_->runtime, shared_from_this());
}

nx_subscription_number session::subscription_number(const std::string& path) const {
  return outbox_.subscription_number(path);
}

void session::deliver(nx_event_ptr event, nx_subscription_number subscription, bool) {
  wake(outbox_.deliver(std::move(event), subscription));
}

void session::subscription_ended(const std::string& path, const std::string& reason) {
  wake(outbox_.end_subscription(path, reason));
}

void session::close(const std::string& reason) {
  if (closed_.exchange(true)) return;
  if (!reason.empty()) {
    note_log::write(note_log::warning, "nexel_api", fmt::format("Closed {}: {}", name_, reason));
  }
  {
    const std::lock_guard lock(sending_mutex_);
    descriptor_ = -1;
    std::string().swap(sending_);
    sent_ = 0;
    count_sending();
  }
  boost::system::error_code ignored;
  connection_->stream.close(ignored);
  connection_.reset();
  if (!busy_) finish();
}

// Releasing a whole tree takes a while.
void session::finish() {
  host_->left_bytes -= std::exchange(left_bytes_, 0);
  host_->session_closed(self());
  constexpr std::size_t few = 64;
  if (outbox_.subscriptions() <= few) return let_go(outbox_.close());
  host_->job_started();
  host_->runtime.heavy_workers->post([self = self()] {
    self->let_go(self->outbox_.close());
    self->host_->job_done();
  });
}

}  // namespace nx
