// The server of one tree, as a daemon uses it: the I/O threads, the workers, the pollers, the unix
// socket and the read-only IPv6 socket of the supervisory link.
#pragma once

#include <memory>
#include <string>

class nx_db;

class nexel_api {
 public:
  /// Starts the I/O threads and binds the socket; clients are accepted from `start` on. The
  /// socket's folder is made if missing and a stale socket file is replaced. Throws
  /// std::runtime_error with a clear text when another server is alive on the path or the path
  /// cannot be bound. NX_ROOT, when set, is put in front of the path. The bool has no effect.
  nexel_api(const std::string& socket_path, unsigned port, bool);
  /// Closes all sessions and joins every thread.
  ~nexel_api();
  nexel_api(const nexel_api&) = delete;
  nexel_api& operator=(const nexel_api&) = delete;

  nx_db& get_db();

  /// Also listens on `port` of the named interface, for sessions that read and subscribe only. The
  /// interface may be missing, come and go.
  void start_ipv6_socket(const std::string& interface_name);

  /// Serves until SIGINT or SIGTERM, or until `stop`, and blocks the calling thread meanwhile. The
  /// I/O threads go on after it, so that others can finish their device calls; all of these
  /// together have no longer than one of them.
  void start();

  /// Makes `start` return. From any thread.
  void stop();

 private:
  struct impl;
  std::unique_ptr<impl> impl_;
};
