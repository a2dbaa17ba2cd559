// A proxy in front of a server's socket that delays its answers and events. Each piece of output is
// delayed by the same time, so that requests sent together are answered together, and one session
// never delays another. Data from clients passes through at once. It knows nothing about the plant:
// any server on a unix socket can be slowed down.
//
// Runs on its own thread. Members may be called from any other thread.
#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace sim {

class delay_proxy {
 public:
  /// Serves `path` for the server at `target`; NX_ROOT is prefixed to both. A connection is passed
  /// on when it arrives, and ends if the server does not accept it. Throws std::runtime_error if
  /// `path` cannot be bound.
  delay_proxy(const std::string& path, const std::string& target,
              std::chrono::milliseconds latency);
  ~delay_proxy();  ///< ends all connections and removes the socket file
  delay_proxy(const delay_proxy&) = delete;
  delay_proxy& operator=(const delay_proxy&) = delete;

  /// Also serves a port of a network interface, which may be missing, and may come and go.
  void listen_on_interface(const std::string& interface_name, unsigned port);

  /// Applies to what the server sends from now on; it does not overtake pending output.
  void set_latency(std::chrono::milliseconds latency);

 private:
  struct impl;
  std::unique_ptr<impl> impl_;
};

}  // namespace sim
