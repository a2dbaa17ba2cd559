// The calls of one client between the request and its answer. Callers send on their own threads
// while the connection is open, which saves a wake-up of the I/O thread for each. The rest happens
// on the I/O thread: opening, answers, time-outs, and the report of what failed, so that an object
// hears of its outcome on one thread only.
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

  /// A request as its caller wrote it; what it refers to may be gone when it is sent.
  struct call {
    std::shared_ptr<nexel_object> object;
    std::string params;
  };

  /// `address` is the one that error texts name.
  live_calls(const last_calls& last, std::string address);

  /// From any thread. True if the I/O thread has to attend to it: there is no connection, or a call
  /// may not go out, or a deadline is not watched yet.
  bool send(std::vector<call> calls);

  // On the I/O thread.

  /// The connection stands: `first` goes out, then what has waited for it, then what comes.
  void open(std::shared_ptr<line_stream> stream, std::vector<call> first);
  /// The connection is gone; gives the calls that it will not answer.
  objects close();
  /// Calls that wait for a connection.
  objects take_waiting();
  bool has_waiting() const;
  /// Calls that were not let out.
  failures take_refused();

  /// An answer is in; null for a call that has failed meanwhile.
  std::shared_ptr<nexel_object> answered(std::uint64_t id);
  /// An answer without an id.
  void answered();
  objects take_expired(time_point now);
  /// A call has not been answered in time and nothing has since, on the connection that stands.
  bool silent() const;
  /// Asks such a nexel for an answer.
  void probe();
  /// When to look for expired calls, unless a look is due already.
  std::optional<time_point> watch_deadline();
  void deadline_reached();

 private:
  void start(std::vector<call>& calls, time_point now);
  void start(call& started, time_point now, std::string& lines);

  const last_calls& last_;
  const std::string address_;

  mutable std::mutex mutex_;             // a leaf but for the stream's own
  std::shared_ptr<line_stream> stream_;  // null without a connection
  call_table calls_;
  bool silent_ = false;
  std::vector<call> waiting_;
  failures refused_;
  bool attended_ = false;  // the I/O thread is on its way
  bool watching_deadline_ = false;
};

}  // namespace nx
