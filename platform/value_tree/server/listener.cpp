#include "platform/value_tree/server/listener.h"

#include <sys/socket.h>

#include <cerrno>
#include <system_error>

#include "platform/note_log/note_log.h"

namespace nx {
namespace {

// Without free descriptors the waiting connection would be reported again at once, for ever.
constexpr std::chrono::milliseconds pause_after_failure{100};

bool is_connection_failure(int error) {
  return error == ECONNABORTED || error == EINTR || error == EPROTO;
}

}  // namespace

listener::listener(boost::asio::io_context& io, owned_fd listening, accepted_callback accepted)
    : listening_(io, listening.release()), pause_(io), accepted_(std::move(accepted)) {}

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
                          if (!failed && self->listening_.is_open()) self->accept_all();
                        });
}

void listener::accept_all() {
  while (true) {
    owned_fd connection(
        ::accept4(listening_.native_handle(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (connection) {
      accepted_(std::move(connection));
      if (!listening_.is_open()) return;
      continue;
    }
    if (errno == EAGAIN || errno == EWOULDBLOCK) return wait();
    if (is_connection_failure(errno)) continue;
    note_log::write(note_log::error, "nexel_api",
                    "Cannot accept a connection: " + std::generic_category().message(errno));
    pause_.expires_after(pause_after_failure);
    pause_.async_wait([self = shared_from_this()](const boost::system::error_code& cancelled) {
      if (!cancelled && self->listening_.is_open()) self->accept_all();
    });
    return;
  }
}

}  // namespace nx
