#include "gateway/server/listener.h"

#include <utility>

#include "gateway/server/connection.h"

namespace gateway {

namespace {

/// The system's buffer for a client that does not read; by default it grows to megabytes.
constexpr int send_buffer_bytes = 256 * 1024;

/// When descriptors have run out, wait until some are free again.
constexpr std::chrono::milliseconds pause_after_failure{100};

}  // namespace

listener::listener(boost::asio::io_context& io, const endpoint& at, const tls_identity* tls,
                   service& shared)
    : acceptor_(io, at, true), tls_(tls), shared_(shared), pause_(io) {}

void listener::accept() {
  acceptor_.async_accept([self = shared_from_this()](const boost::system::error_code& error,
                                                     boost::asio::ip::tcp::socket socket) {
    if (!self->acceptor_.is_open()) return;
    if (!error) {
      self->accepted(std::move(socket));
      return self->accept();
    }
    self->pause_.expires_after(pause_after_failure);
    self->pause_.async_wait([self](const boost::system::error_code& stopped) {
      if (!stopped) self->accept();
    });
  });
}

void listener::accepted(boost::asio::ip::tcp::socket socket) {
  boost::system::error_code ignored;
  socket.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
  socket.set_option(boost::asio::socket_base::send_buffer_size(send_buffer_bytes), ignored);
  if (shared_.connections.size() >= shared_.bounds.connections + shared_.bounds.refusals) return;
  if (tls_) {
    admit(std::make_shared<connection<tls_stream>>(tls_stream(std::move(socket), tls_->context()),
                                                   shared_));
  } else {
    admit(std::make_shared<connection<plain_stream>>(std::move(socket), shared_));
  }
}

template <class Connection>
void listener::admit(const std::shared_ptr<Connection>& made) {
  const bool fits = shared_.connections.size() - shared_.refusals <= shared_.bounds.connections;
  fits ? made->start() : made->refuse();
}

void listener::stop() {
  boost::system::error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel();
}

}  // namespace gateway
