#include "platform/value_tree/server/listener.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "platform/note_log/note_log.h"

namespace nx {
namespace {

// Without free descriptors the waiting connection would be reported again at once, endlessly.
constexpr std::chrono::milliseconds pause_after_failure{100};

constexpr std::chrono::milliseconds pause_of_pace{20};
constexpr unsigned accepts_a_turn = 16;

bool is_connection_failure(int error) {
  return error == ECONNABORTED || error == EINTR || error == EPROTO;
}

}  // namespace

listener::listener(boost::asio::io_context& io, owned_fd listening, accepted_callback accepted,
                   unsigned a_second)
    : listening_(io, listening.release()),
      pause_(io),
      accepted_(std::move(accepted)),
      a_second_(a_second) {}

void listener::start() {
  wait();
}

void listener::stop() {
  boost::system::error_code ignored;
  listening_.close(ignored);
  pause_.cancel();
}

void listener::wait() {
  listening_.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                        [self = shared_from_this()](const boost::system::error_code& failed) {
                          if (!failed && self->listening_.is_open()) self->accept_some();
                        });
}

void listener::accept_some() {
  for (unsigned count = 0; count < accepts_a_turn; ++count) {
    if (!may_accept()) return pause(pause_of_pace);
    owned_fd connection(
        ::accept4(listening_.native_handle(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (connection) {
      saved_ -= 1;
      accepted_(std::move(connection));
      if (!listening_.is_open()) return;
      continue;
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK) return wait();
    if (is_connection_failure(errno)) continue;
    note_log::write(note_log::error, "nexel_api",
                    "Cannot accept a connection: " + std::generic_category().message(errno));
    return pause(pause_after_failure);
  }
  wait();  // lets others have their turn
}

bool listener::may_accept() {
  if (a_second_ == 0) return true;
  const auto now = std::chrono::steady_clock::now();
  const std::chrono::duration<double> passed = now - saved_at_;
  saved_at_ = now;
  saved_ = std::min(saved_ + passed.count() * a_second_, double{accepts_a_turn});
  return saved_ >= 1;
}

void listener::pause(std::chrono::milliseconds time) {
  pause_.expires_after(time);
  pause_.async_wait([self = shared_from_this()](const boost::system::error_code& cancelled) {
    if (!cancelled && self->listening_.is_open()) self->accept_some();
  });
}

}  // namespace nx
