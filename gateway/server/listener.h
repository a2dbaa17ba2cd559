// Accepts connections at one address and port, in clear text or with TLS. A connection beyond the
// limit gets an answer saying so; beyond the limit of those, it is just closed. On the gateway's
// thread.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <memory>

#include "gateway/server/service.h"
#include "gateway/trust/tls_identity.h"

namespace gateway {

class listener : public std::enable_shared_from_this<listener> {
 public:
  using endpoint = boost::asio::ip::tcp::endpoint;

  /// `tls` is null for clear text, and otherwise outlives this. Throws boost::system::system_error
  /// if it cannot listen.
  listener(boost::asio::io_context& io, const endpoint& at, const tls_identity* tls,
           service& shared);

  void start() { accept(); }
  void stop();
  unsigned port() const { return acceptor_.local_endpoint().port(); }

 private:
  void accept();
  void accepted(boost::asio::ip::tcp::socket socket);
  template <class Connection>
  void admit(const std::shared_ptr<Connection>& made);

  boost::asio::ip::tcp::acceptor acceptor_;
  const tls_identity* tls_;
  service& shared_;
  boost::asio::steady_timer pause_;
};

}  // namespace gateway
