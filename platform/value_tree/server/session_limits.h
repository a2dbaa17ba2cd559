// How many sessions a server takes, and from whom. The supervisory link has its own count, so that
// nobody there shuts out the local side, and a place of its own for the neighbour; the last places
// of the local side are root's, who may have to look what the others do. On the I/O thread.
#pragma once

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

  void entered(const std::shared_ptr<session>& one, origin from) { sessions_.emplace(one, from); }
  void left(const std::shared_ptr<session>& one) { sessions_.erase(one); }
  bool on_link(const std::shared_ptr<session>& one) const;

 private:
  std::size_t count(origin from) const;

  const neighbours& known_;
  std::map<std::shared_ptr<session>, origin> sessions_;
};

}  // namespace nx
