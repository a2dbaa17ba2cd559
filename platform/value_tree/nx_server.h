// The parts of nexel_api, for programs that serve several trees in one process (the simulated plant
// serves every nexel of a node): one runtime, and one server per socket.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/value_tree/poll_scheduler.h"

class nx_db;
namespace boost::asio {
class io_context;
}

namespace nx {

/// The threads behind one or more servers: the I/O threads of the sessions and of the devices'
/// clients, the workers, the pollers.
class server_runtime {
 public:
  server_runtime();
  ~server_runtime();  ///< joins all threads; servers must be gone by then
  server_runtime(const server_runtime&) = delete;
  server_runtime& operator=(const server_runtime&) = delete;

  /// For the connections to devices and to the peer. No session of a server runs on it.
  std::shared_ptr<boost::asio::io_context> io_context();
  std::shared_ptr<poll_scheduler> poller();

  struct impl;
  impl& internals() { return *impl_; }

 private:
  std::unique_ptr<impl> impl_;
};

/// States of a whole server, for a nexel that plays dead in the simulated plant.
enum class server_fault {
  none,
  hung,     ///< accepts and reads, never answers and sends no events
  refusing  ///< accepts and closes at once
};

/// One tree on one unix socket.
class nx_server {
 public:
  /// Binds the socket; throws like nexel_api. Connections are accepted from `start_accepting` on.
  nx_server(server_runtime& runtime, nx_db& db, const std::string& socket_path);
  ~nx_server();  ///< closes the sessions and removes the socket file
  nx_server(const nx_server&) = delete;
  nx_server& operator=(const nx_server&) = delete;

  void start_accepting();
  /// Also listens on the interface, for reading and subscribing only.
  void start_ipv6_socket(const std::string& interface_name, unsigned port);
  /// On any address text ("::1"): for simulated peers and tests. Returns the port, which the system
  /// chooses for 0. Throws std::runtime_error.
  unsigned start_tcp_socket(const std::string& address, unsigned port, bool read_only);
  void set_fault(server_fault fault);
  /// How long a client may take no output before its session is closed; for tests.
  void set_stuck_limit(std::chrono::milliseconds limit);
  /// How long a session on the supervisory link without subscriptions may ask for nothing; for
  /// tests.
  void set_silent_limit(std::chrono::milliseconds limit);

  struct impl;

 private:
  std::shared_ptr<impl> impl_;
};

}  // namespace nx
