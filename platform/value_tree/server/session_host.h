// What a session needs of its server.
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

  /// A session was closed and is done with the tree. On the I/O thread.
  virtual void session_closed(const std::shared_ptr<session>& closed) = 0;
  /// The client of a session has gone, though not all is done that it wrote: its place is free.
  virtual void client_gone(const std::shared_ptr<session>& of) = 0;
  /// A request of a session is executed by a worker between these two.
  virtual void job_started() = 0;
  virtual void job_done() = 0;

  server_runtime::impl& runtime;
  nx_db& db;
  const std::string name;  ///< where it listens, for the log
  std::atomic<server_fault> fault{server_fault::none};
  std::atomic<std::size_t> waiting_answers{0};  ///< bytes, in all sessions
  std::atomic<bool> has_patterns{false};  ///< a session has subscribed to a pattern at some time
  std::size_t left_bytes = 0;  ///< of requests whose clients have gone; the I/O thread's own
  std::chrono::milliseconds stuck_limit = limits::stuck_session;
};

}  // namespace nx
