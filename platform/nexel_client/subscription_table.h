// The subscriptions of one client, by path: whom to inform, and what to ask the nexel for next. It
// makes no calls itself, so both transports use it. Not thread-safe: its owner keeps it on one
// thread or behind a lock, and receivers only store.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/nexel_client/nexel_subscriber.h"

namespace nx {

class subscription_table {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  /// Subscribes again even if the path has a subscription: the new subscriber gets the present
  /// value, and a nexel that has forgotten its clients is reminded.
  void add(const std::shared_ptr<nexel_subscriber>& subscriber);

  /// Paths to ask for now; from here on they count as asked for.
  std::vector<std::string> take_due(time_point now);
  /// Paths whose subscribers have all died; they are removed.
  std::vector<std::string> take_abandoned();
  bool empty() const { return entries_.empty(); }

  void confirmed(const std::string& path);
  /// One exception event; due again at `retry`.
  void refused(const std::string& path, const nx_client_exception& error, time_point retry);
  /// The connection is gone: one exception event for each live subscriber, and all paths are due.
  void lost(std::int32_t code, const std::string& message);
  /// All paths are due, for a nexel whose events may have been missed.
  void renew();
  /// Removes everything; no more events.
  void cancel();

  /// An "event" or "ended" message of the protocol; anything else is ignored.
  void receive(const nx::json_value& message);
  void changed(std::string_view path, const nx::json_value& value);
  void ended(const std::string& path, const std::string& reason);

  /// Paths for which the nexel may send events.
  std::vector<std::string> known_paths() const;

 private:
  enum class phase { due, asked, active };
  struct entry {
    std::vector<std::weak_ptr<nexel_subscriber>> subscribers;
    phase now = phase::due;
    time_point retry{};
    bool known = false;  // asked for on this connection, so the nexel may send events
    bool fault_logged = false;
  };

  template <class Event>
  void tell(const std::string& path, entry& of, Event event);

  std::map<std::string, entry, std::less<>> entries_;
};

}  // namespace nx
