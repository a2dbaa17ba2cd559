// How many sessions a server takes, and from whom. The supervisory link has its own count, so that
// nobody there shuts out the local side, and a place of its own for the neighbour; the last places
// of the local side are root's, who may have to look what the others do. On the I/O thread.
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

  /// Why there is no room for one more; empty if there is.
  std::optional<nx_error> refusal(origin from) const;

  /// Who from the neighbour's address gives way to another from there; null if nobody has to. Of
  /// those that have asked for nothing since `time` the oldest but one: the oldest is likely the
  /// neighbour itself. Else the oldest that has been there since then and is subscribed to nothing,
  /// as the neighbour is once it has read what it meets. Else the only idle one.
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
    unsigned long number;  // counts those who entered
    std::chrono::steady_clock::time_point since;
  };
  std::map<std::shared_ptr<session>, place> sessions_;
  unsigned long entered_ = 0;
};

}  // namespace nx
