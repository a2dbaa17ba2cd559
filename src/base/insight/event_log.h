// What has happened on the node, one event per change, for "insight/log"; a later reader gets the
// newest thousand. Kept as plain records; JSON is only made for readers and subscribers.
// docs/insight.md lists the kinds and their details.
//
// Any thread reports and reads. Reporting takes the log's own lock, which ranks like a node's in
// the lock order, never blocks and throws nothing. Times are the daemon's wall clock.
#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

class nx_db;

namespace insight {

enum class event_kind : unsigned char {
  lit,
  dark,
  arrived,
  exhausted,
  guard_began,
  guard_ended,
  loop_down,
  loop_up,
  cut,
  mended,
  stalled,  ///< the line has stopped regulating and needs a person, or a part of the peer fails
  resumed,
  peer_identified,
  peer_lost,
  channel_added,
  channel_removed,
  parameter_written,
  start_failed,  ///< what keeps the node from starting
  count
};

/// The value of "event" in the JSON.
const char* name_of(event_kind kind);

/// A figure, with its unit in docs/insight.md, or a word. The name must outlive the log.
using detail = std::pair<const char*, std::variant<double, std::string>>;

struct event {
  std::chrono::system_clock::time_point time;
  event_kind kind;
  std::string on;  ///< "client rx 19140000", "client rx", "line", "peer", a device or a path
  std::vector<detail> details;
};

/// {"time", "event", "on", and the details by their names}.
std::string json_of(const event& what);

/// "client rx 19140000", the guards' name for a channel.
std::string channel_subject(const char* direction, unsigned channel);

class event_log {
 public:
  static constexpr std::size_t depth = 1000;

  /// The process's log; it observes guards and parameters by itself.
  static event_log& instance();

  void tell(event_kind kind, std::string on, std::vector<detail> details = {});
  /// The same parameter written again within ten seconds stays one event: that of the first write,
  /// with the newest value, the number of writes, and the time of the last.
  void tell_written(const std::string& path, const std::string& value);
  /// Sends the outcome of such a series of writes to subscribers when it has ended; called in each
  /// cycle.
  void settle();

  /// Puts "insight/log" on the tree: a string with the newest event, and all of them as its
  /// history.
  void publish(nx_db& db);

  /// Oldest first.
  std::vector<event> events() const;
  /// Forgets all events; for tests.
  void reset();

 private:
  class node;

  /// The newest event of a parameter.
  struct written {
    std::uint64_t number;  ///< of the event, counted since the process's start
    std::chrono::steady_clock::time_point last;
    unsigned writes = 1;
  };

  event_log();
  event* find(const written& row);
  void add(event what);
  void send(const event& what);

  mutable std::mutex mutex_;  // guards the members below
  std::deque<event> events_;
  std::uint64_t told_ = 0;                            // events since the start
  std::unordered_map<std::string, written> written_;  // by path; those whose series may continue
  std::vector<std::weak_ptr<node>> nodes_;
};

}  // namespace insight
