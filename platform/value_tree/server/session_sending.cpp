// Sending a session's pending output, by the I/O thread or by the publishing thread.
#include <fmt/format.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>

#include "platform/value_tree/server/runtime_impl.h"
#include "platform/value_tree/server/session.h"

namespace nx {
namespace {

constexpr std::size_t write_bytes = 256 * 1024;
constexpr std::size_t bytes_a_turn = 1024 * 1024;
constexpr std::size_t kept_bytes = 64 * 1024;

// A thread collects lines in the same memory for one session after the other, where it is still in
// the processor's cache. Only what a socket did not accept stays with its session.
class lent_memory {
 public:
  explicit lent_memory(std::string& to) : to_(to) {
    if (to_.empty()) to_.swap(kept_);
  }
  ~lent_memory() {
    if (!to_.empty()) return;
    to_.swap(kept_);
    if (kept_.capacity() > kept_bytes) std::string().swap(kept_);
  }
  lent_memory(const lent_memory&) = delete;
  lent_memory& operator=(const lent_memory&) = delete;

 private:
  inline static thread_local std::string kept_;
  std::string& to_;
};

// Not by the library's function, a point of cancellation: to be one costs it two atomic operations.
// But the thread sanitizer has to see it, as what orders this thread and the client's.
ssize_t send_some(int descriptor, std::string_view text) {
  constexpr int flags = MSG_DONTWAIT | MSG_NOSIGNAL;
#ifdef __SANITIZE_THREAD__
  return ::send(descriptor, text.data(), text.size(), flags);
#else
  return ::syscall(SYS_sendto, descriptor, text.data(), text.size(), flags, nullptr, 0);
#endif
}

}  // namespace

// Inlined as a whole: after a system call the processor mispredicts each return.
[[gnu::flatten]] void session::flush(const std::vector<std::shared_ptr<nx_session>>& sessions) {
  for (const auto& one : sessions)
    static_cast<session&>(*one).flush();
}

void session::flush() {
  assert(host_->runtime.on_io_thread());
  if (closed_ || host_->fault == server_fault::hung) return;
  if (gone_) return discard_output();
  if (!blocked_) send_all();
  if (blocked_ && !closed_) check_output_limit();
}

void session::discard_output() {
  const std::lock_guard lock(sending_mutex_);
  for (bool more = true; more;) {
    sending_.clear();
    more = outbox_.take(sending_, write_bytes);
  }
  sending_.clear();
  sent_ = 0;
  count_sending();
}

void session::count_sending() {
  if (sending_.size() == sending_counted_) return;
  host_->waiting_answers += sending_.size() - sending_counted_;
  sending_counted_ = sending_.size();
}

// What waits alone, as an event to many does in most sessions, is sent from where it is. What the
// socket does not accept is kept, and tried again.
bool session::send_only() {
  const auto only = outbox_.take_only();
  if (!only) return false;
  if (only->lines.empty()) return true;  // a place that was kept in vain
  const auto taken = send_some(descriptor_, only->lines);
  if (taken == static_cast<ssize_t>(only->lines.size())) return true;
  sending_.assign(only->lines, static_cast<std::size_t>(std::max<ssize_t>(taken, 0)));
  return false;
}

void session::send_all() {
  auto result = sent::all;
  {
    const std::lock_guard lock(sending_mutex_);
    result = send_waiting();
    blocked_ = result == sent::part;
  }
  if (result == sent::failed) return close({});
  if (result == sent::part) wait_until_writable();
}

// Called with sending_mutex_ held.
session::sent session::send_waiting() {
  if (sending_.empty() && send_only()) return sent::all;
  const lent_memory lent(sending_);
  std::size_t room = bytes_a_turn;
  for (bool more = true;;) {
    if (sent_ == sending_.size()) {
      sending_.clear();
      sent_ = 0;
      if (more) more = outbox_.take(sending_, write_bytes);
      if (sending_.empty()) break;
    }
    if (room == 0) break;  // comes back at once, after the others
    const auto taken = send_some(descriptor_, std::string_view(sending_).substr(sent_));
    if (taken < 0 && errno == EINTR) continue;
    if (taken < 0 && errno != EAGAIN) return sent::failed;
    if (taken < 0) break;
    sent_ += static_cast<std::size_t>(taken);
    room -= std::min(room, static_cast<std::size_t>(taken));
  }
  count_sending();
  return sending_.empty() ? sent::all : sent::part;
}

// On the publishing thread, to which sending an event costs no more than waking the sender. Not for
// a client that has not read what was sent before: later events are then sent in one write with
// this one.
bool session::send_at_once() {
  const std::unique_lock lock(sending_mutex_, std::try_to_lock);
  if (!lock || !local_ || descriptor_ < 0 || blocked_ || gone_ || !sending_.empty()) return false;
  if (host_->fault == server_fault::hung) return false;
  int unread = 0;
  if (::ioctl(descriptor_, SIOCOUTQ, &unread) != 0 || unread > 0) return false;
  return send_waiting() == sent::all;
}

void session::wait_until_writable() {
  outbox_.set_slow(true);
  watch_progress();
  connection_->stream.async_wait(socket::wait_write,
                                 [self = self()](const boost::system::error_code& failed) {
                                   if (self->closed_) return;
                                   if (failed) return self->close({});
                                   self->writable();
                                 });
}

void session::writable() {
  {
    const std::lock_guard lock(sending_mutex_);
    blocked_ = false;
  }
  connection_->progress_timer.cancel();
  outbox_.set_slow(false);
  flush();
  const bool goes_on = stalled_ && !is_paused();
  if (goes_on || (ended_ && !blocked_ && !busy_)) process();
}

void session::watch_progress() {
  connection_->progress_timer.expires_after(host_->stuck_limit);
  connection_->progress_timer.async_wait(
      [self = self()](const boost::system::error_code& cancelled) {
        if (cancelled || self->closed_ || !self->blocked_) return;
        if (self->connection_->progress_timer.expiry() > std::chrono::steady_clock::now()) return;
        const auto seconds = std::chrono::duration<double>(self->host_->stuck_limit).count();
        self->close(fmt::format("it has taken no output for {:g} s", seconds));
      });
}

void session::check_output_limit() {
  const auto waiting = outbox_.waiting_event_bytes();
  if (waiting <= limits::output_bytes_per_session) return;
  close(fmt::format("more than {} bytes of output wait for it", limits::output_bytes_per_session));
}

}  // namespace nx
