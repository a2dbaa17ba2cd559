// Listens on the addresses of a network interface while they exist: the supervisory channel runs
// over a pluggable module, so the interface may be missing at the start, and may come and go. On
// the I/O thread; looks once a second.
#pragma once

#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/value_tree/server/listener.h"
#include "platform/value_tree/server/tcp_socket.h"

namespace nx {

class interface_listener : public std::enable_shared_from_this<interface_listener> {
 public:
  /// Both get the endpoint, as "[fe80::1%osc0]:5100". `gone` is called when the interface no longer
  /// has that address: connections accepted there are dead.
  using accepted_callback = std::function<void(owned_fd connection, const std::string& endpoint)>;
  using gone_callback = std::function<void(const std::string& endpoint)>;
  interface_listener(boost::asio::io_context& io, std::string interface_name, unsigned port,
                     accepted_callback accepted, gone_callback gone);

  void start();
  void stop();

  static constexpr std::chrono::milliseconds look_interval{1000};
  /// New connections per second on an address: a neighbour makes one once in a while.
  static constexpr unsigned accepts_a_second = 100;

 private:
  /// Endpoint and index of the interface: one that was plugged in again has a different index.
  using place = std::pair<std::string, unsigned>;

  void look();
  void leave_all_but(const std::vector<sockaddr_in6>& present);
  void come(const sockaddr_in6& address);
  place place_of(const sockaddr_in6& address) const;
  void warn_once(const std::string& state);

  boost::asio::io_context& io_;
  boost::asio::steady_timer timer_;
  std::string interface_;
  unsigned port_;
  accepted_callback accepted_;
  gone_callback gone_;
  std::map<place, std::shared_ptr<listener>> listeners_;
  std::string warned_;
  bool stopped_ = false;
};

}  // namespace nx
