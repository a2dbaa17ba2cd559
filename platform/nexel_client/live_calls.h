// The calls of one client between request and answer. Callers send on their own threads while the
// connection is open, which saves waking the I/O thread each time. Everything else happens on the
// I/O thread: opening, answers, time-outs and reports of failures, so an object always gets its
// result on the same thread.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/io/last_calls.h"
#include "platform/nexel_client/call_table.h"
#include "platform/nexel_client/line_stream.h"

namespace nx {

class live_calls {
 public:
  using time_point = call_table::time_point;
  using objects = std::vector<std::shared_ptr<nexel_object>>;
  using failures = std::vector<std::pair<std::shared_ptr<nexel_object>, nx_client_exception>>;

  /// A request as its caller wrote it; what it refers to may be gone by the time it is sent.
  struct call {
    std::shared_ptr<nexel_object> object;
    std::string params;
  };

  /// `address` is used in error texts.
  live_calls(const last_calls& last, std::string address);

  /// Any thread. True if the I/O thread is needed: there is no connection, a call may not be sent,
  /// or a deadline is not watched yet.
  bool send(std::vector<call> calls);

  // On the I/O thread.

  /// The connection is up: sends `first`, then what has been waiting, then whatever comes.
  void open(std::shared_ptr<line_stream> stream, std::vector<call> first);
  /// The connection is gone; returns the calls that it will not answer.
  objects close();
  /// Calls waiting for a connection.
  objects take_waiting();
  bool has_waiting() const;
  /// Calls that were not sent.
  failures take_refused();

  /// An answer has arrived; null for a call that has already failed.
  std::shared_ptr<nexel_object> answered(std::uint64_t id);
  /// An answer without an id.
  void answered();
  objects take_expired(time_point now);
  /// A call was not answered in time and nothing has been since, on the present connection.
  bool silent() const;
  /// Probes such a nexel.
  void probe();
  /// When to look for expired calls, unless a look is already scheduled.
  std::optional<time_point> watch_deadline();
  void deadline_reached();

 private:
  void start(std::vector<call>& calls, time_point now);
  void start(call& started, time_point now, std::string& lines);

  const last_calls& last_;
  const std::string address_;

  mutable std::mutex mutex_;             // a leaf, except for the stream's own
  std::shared_ptr<line_stream> stream_;  // null without a connection
  call_table calls_;
  bool silent_ = false;
  std::vector<call> waiting_;
  failures refused_;
  bool attended_ = false;  // the I/O thread has been woken
  bool watching_deadline_ = false;
};

}  // namespace nx
