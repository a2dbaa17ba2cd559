// The subscriptions of one session, each in a slot with a number: an event finds its slot without a
// look-up, a client's request by the path. Compact, since many sessions may subscribe to every path
// of a large tree. Not thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value_tree/nx_session.h"

namespace nx {

class subscription_slots {
  using index = std::uint32_t;

 public:
  struct slot {
    std::shared_ptr<const std::string> path;  // shared with the node; null if the slot is free
    std::uint64_t place = 0;                  // its owner's
    std::uint32_t generation = 1;             // number of the slot's use
    bool exact = false;                       // subscribed to by name, not by a pattern
    bool open = false;
  };

  /// Null once the subscription has ended. Valid until the next `add`.
  slot* find(nx_subscription_number number);
  /// For an existing subscription.
  const slot& at(nx_subscription_number number) const { return slots_[static_cast<index>(number)]; }
  /// no_subscription if there is none.
  nx_subscription_number find(std::string_view path) const;
  /// Room for so many in all.
  void reserve(std::size_t count);
  nx_subscription_number add(std::shared_ptr<const std::string> path);
  void erase(nx_subscription_number number);
  void clear();
  std::size_t size() const { return count_; }

  std::vector<std::string> paths() const;
  std::vector<std::shared_ptr<const std::string>> shared_paths() const;

 private:
  // Open addressing with a power of two of positions: a slot's index plus one, 0 for a free
  // position. A standard set takes several times as much memory.
  std::size_t place_of(std::string_view path) const;
  std::size_t home_of(std::string_view path) const;
  bool has_positions_for(std::size_t count) const;
  void insert(index at);
  void take_off(std::size_t place);
  void grow(std::size_t positions);

  nx_subscription_number number_of(index at) const;

  std::vector<slot> slots_;
  std::vector<index> free_;
  std::vector<index> by_path_;
  std::size_t count_ = 0;
};

}  // namespace nx
