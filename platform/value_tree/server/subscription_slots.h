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

class nx_db_leaf_node;

namespace nx {

class subscription_slots {
  using index = std::uint32_t;

 public:
  using node_pointer = std::shared_ptr<nx_db_leaf_node>;

  struct slot {
    node_pointer node;        // where it began, which may be replaced; null if the slot is free
    std::uint64_t place = 0;  // its owner's
    std::uint32_t generation = 1;  // number of the slot's use
    bool exact = false;            // subscribed to by name, not by a pattern
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
  /// For the first subscriptions, whose paths differ: they are put in order by path when the first
  /// look-up comes. A client that subscribes to everything and goes again needs none.
  void order_later();
  nx_subscription_number add(node_pointer node);
  /// Returns what its node was: it may have been kept by this alone. Null if it has ended.
  node_pointer erase(nx_subscription_number number);
  std::size_t size() const { return count_; }

  std::vector<node_pointer> nodes() const;
  /// Ends all subscriptions and gives the memory back.
  std::vector<node_pointer> take_nodes();

 private:
  // Open addressing with a power of two of positions: a slot's index plus one, 0 for a free
  // position. A standard set takes several times as much memory.
  const std::string& path_at(index position) const;
  std::size_t place_of(std::string_view path) const;
  std::size_t home_of(std::string_view path) const;
  bool has_positions_for(std::size_t count) const;
  void insert(index at);
  void take_off(std::size_t place);
  void grow(std::size_t positions) const;
  void put_in_order() const;

  nx_subscription_number number_of(index at) const;

  std::vector<slot> slots_;
  std::vector<index> free_;
  // Made by the first look-up if need be, which changes nothing that can be seen.
  mutable std::vector<index> by_path_;
  mutable bool ordered_ = true;
  std::size_t count_ = 0;
};

}  // namespace nx
