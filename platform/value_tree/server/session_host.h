// What a session needs from its server.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>

#include "platform/value_tree/nx_server.h"
#include "platform/wire/limits.h"

namespace nx {

class session;

class session_host {
 public:
  session_host(server_runtime::impl& runtime_of_server, nx_db& tree, std::string server_name)
      : runtime(runtime_of_server), db(tree), name(std::move(server_name)) {}
  virtual ~session_host() = default;
  session_host(const session_host&) = delete;
  session_host& operator=(const session_host&) = delete;

  /// A session has been closed and has left the tree. On the I/O thread.
  virtual void session_closed(const std::shared_ptr<session>& closed) = 0;
  /// The client of a session has gone, though not all of its writes are carried out: its place is
  /// free.
  virtual void client_gone(const std::shared_ptr<session>& of) = 0;
  /// Between these two a worker executes a request of a session.
  virtual void job_started() = 0;
  virtual void job_done() = 0;

  server_runtime::impl& runtime;
  nx_db& db;
  const std::string name;  ///< where it listens, for the log
  std::atomic<server_fault> fault{server_fault::none};
  std::atomic<std::size_t> waiting_answers{0};  ///< bytes, in all sessions
  std::atomic<bool> has_patterns{false};        ///< some session has ever subscribed to a pattern
  std::size_t left_bytes = 0;  ///< of requests whose clients have gone; the I/O thread's own
  std::chrono::milliseconds stuck_limit = limits::stuck_session;
};

}  // namespace nx
