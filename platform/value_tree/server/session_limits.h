// How many sessions a server accepts, and from whom. The supervisory link has a separate limit, so
// that nobody there locks out the local side, and a place reserved for the neighbour; the last
// local places are reserved for root, who may have to find out what the others are doing. On the
// I/O thread.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>

#include "platform/wire/nx_error.h"

namespace nx {

class neighbours;
class session;

class session_limits {
 public:
  enum class origin { local, local_root, link, link_neighbour };

  explicit session_limits(const neighbours& known) : known_(known) {}

  /// Where a connection comes from. `on_link`: it was accepted on the supervisory link.
  origin origin_of(int connection, bool on_link) const;

  /// Why there is no room for another session; empty if there is.
  std::optional<nx_error> refusal(origin from) const;

  /// The session from the neighbour's address that gives way to another from there; null if none
  /// has to. Among those that have asked for nothing since `time`, the oldest but one: the oldest
  /// is probably the neighbour itself. Else the oldest that has existed since then and has
  /// subscribed to nothing: the neighbour subscribes as soon as it knows its peer. Else the only
  /// idle one.
  std::shared_ptr<session> gives_way(std::chrono::steady_clock::time_point time) const;

  void entered(const std::shared_ptr<session>& one, origin from) {
    sessions_.emplace(one, place{from, ++entered_, std::chrono::steady_clock::now()});
  }
  void left(const std::shared_ptr<session>& one) { sessions_.erase(one); }
  bool on_link(const std::shared_ptr<session>& one) const;

 private:
  std::size_t count(origin from) const;

  const neighbours& known_;
  struct place {
    origin from;
    unsigned long number;  // number of sessions accepted so far
    std::chrono::steady_clock::time_point since;
  };
  std::map<std::shared_ptr<session>, place> sessions_;
  unsigned long entered_ = 0;
};

}  // namespace nx
