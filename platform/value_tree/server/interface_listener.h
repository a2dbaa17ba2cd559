// Listens on the address of a network interface while the interface is there: the supervisory
// channel runs over a pluggable module, so it may be missing at the start, come and go. On the I/O
// thread; looks once a second.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <string>

#include "platform/value_tree/server/listener.h"
#include "platform/value_tree/server/tcp_socket.h"

namespace nx {

class interface_listener : public std::enable_shared_from_this<interface_listener> {
 public:
  /// `gone` is called when the interface has gone or has got another address: connections that were
  /// accepted before are dead.
  interface_listener(boost::asio::io_context& io, std::string interface_name, unsigned port,
                     listener::accepted_callback accepted, std::function<void()> gone);

  void start();
  void stop();

  static constexpr std::chrono::milliseconds look_interval{1000};

 private:
  void look();
  void come(const sockaddr_in6& address);
  void go();
  void tell_once(const std::string& state);

  boost::asio::io_context& io_;
  boost::asio::steady_timer timer_;
  std::string interface_;
  unsigned port_;
  listener::accepted_callback accepted_;
  std::function<void()> gone_;
  std::optional<sockaddr_in6> address_;  // that is listened on
  std::shared_ptr<listener> listener_;
  std::string told_;
  bool stopped_ = false;
};

}  // namespace nx
