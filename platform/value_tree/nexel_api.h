// The server of one tree, as used by a daemon: the I/O threads, the workers, the pollers, the unix
// socket and the read-only IPv6 socket of the supervisory link.
#pragma once

#include <memory>
#include <string>

class nx_db;

class nexel_api {
 public:
  /// Starts the I/O threads and binds the socket; clients are accepted from `start` on. The
  /// socket's folder is created if missing, and a stale socket file is replaced. Throws
  /// std::runtime_error with a clear text if another server is alive on the path or the path cannot
  /// be bound. NX_ROOT, if set, is prefixed to the path. The bool has no effect.
  nexel_api(const std::string& socket_path, unsigned port, bool);
  /// Closes all sessions and joins every thread.
  ~nexel_api();
  nexel_api(const nexel_api&) = delete;
  nexel_api& operator=(const nexel_api&) = delete;

  nx_db& get_db();

  /// Also listens on `port` of the named interface, for sessions that only read and subscribe. The
  /// interface may be missing, and may come and go.
  void start_ipv6_socket(const std::string& interface_name);

  /// Serves until SIGINT or SIGTERM, or until `stop`, and blocks the calling thread. The I/O
  /// threads keep running afterwards, so that others can finish their device calls; together, these
  /// have no more time than a single one.
  void start();

  /// Makes `start` return. Any thread.
  void stop();

 private:
  struct impl;
  std::unique_ptr<impl> impl_;
};
