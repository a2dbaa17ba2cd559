// What has happened on the node, one event a change, for "insight/log": who comes later reads the
// newest thousand. Kept as plain records; JSON is made for who reads or subscribes, and for nobody
// else. docs/insight.md has the kinds and their details.
//
// Any thread tells and reads; telling takes the log's own lock, in the place of a node's in the
// order of locks, waits for nobody and throws nothing. Times are the daemon's wall clock.
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
  stalled,  ///< the line stands still, and waits for a person
  resumed,
  peer_identified,
  peer_lost,
  channel_added,
  channel_removed,
  parameter_written,
  start_failed,  ///< what keeps the node from starting
  count
};

/// As "event" of the JSON tells it.
const char* name_of(event_kind kind);

/// A figure with its unit in docs/insight.md, or a word. The name has to outlive the log.
using detail = std::pair<const char*, std::variant<double, std::string>>;

struct event {
  std::chrono::system_clock::time_point time;
  event_kind kind;
  std::string on;  ///< "client rx 19140000", "client rx", "line", "peer", a device or a path
  std::vector<detail> details;
};

/// {"time", "event", "on", and the details by their names}.
std::string json_of(const event& what);

/// "client rx 19140000", as the guards name a channel.
std::string channel_subject(const char* direction, unsigned channel);

class event_log {
 public:
  static constexpr std::size_t depth = 1000;

  /// That of the process; it hears of guards and parameters by itself.
  static event_log& instance();

  void tell(event_kind kind, std::string on, std::vector<detail> details = {});
  /// The same parameter written again within ten seconds stays one event: that of the first write,
  /// with the newest value, how many there were, and when the last.
  void tell_written(const std::string& path, const std::string& value);
  /// Tells who watches what such a row of writes came to, when it has ended; in each cycle.
  void settle();

  /// Puts "insight/log" on the tree: a string, its newest event, with all of them as its history.
  void publish(nx_db& db);

  /// Oldest first.
  std::vector<event> events() const;
  /// Forgets all events; for tests.
  void reset();

 private:
  class node;

  /// The newest event of a parameter.
  struct written {
    std::uint64_t number;  ///< of the event, counted from the process' start
    std::chrono::steady_clock::time_point last;
    unsigned writes = 1;
  };

  event_log();
  event* find(const written& row);
  void add(event what);
  void send(const event& what);

  mutable std::mutex mutex_;  // guards what follows
  std::deque<event> events_;
  std::uint64_t told_ = 0;                            // events since the start
  std::unordered_map<std::string, written> written_;  // by path; those whose row may go on
  std::vector<std::weak_ptr<node>> nodes_;
};

}  // namespace insight
