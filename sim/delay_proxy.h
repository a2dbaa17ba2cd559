// Stands in front of a server's socket and makes its answers and events late. Each piece of output
// waits for its own time, so that requests which go out together are answered together, and one
// session never holds up another. What clients send goes through at once. It knows nothing of the
// plant: any server on a unix socket can be slowed down.
//
// Runs on a thread of its own. Members may be called from any thread but that one.
#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace sim {

class delay_proxy {
 public:
  /// Serves `path` for the server at `target`; NX_ROOT is put in front of both. A connection is
  /// passed on when it comes, and ends when the server does not take it. Throws std::runtime_error
  /// when `path` cannot be bound.
  delay_proxy(const std::string& path, const std::string& target,
              std::chrono::milliseconds latency);
  ~delay_proxy();  ///< ends all connections and removes the socket file
  delay_proxy(const delay_proxy&) = delete;
  delay_proxy& operator=(const delay_proxy&) = delete;

  /// Also serves a port of a network interface, which may be missing, come and go.
  void listen_on_interface(const std::string& interface_name, unsigned port);

  /// For what the server sends from now on; it does not overtake what waits.
  void set_latency(std::chrono::milliseconds latency);

 private:
  struct impl;
  std::unique_ptr<impl> impl_;
};

}  // namespace sim
