// The subscriptions of one session, each in a slot that its number names: an event finds its own
// without a look-up, a client's request by the path. Small, since many sessions may subscribe to
// every path of a large tree. Not thread-safe.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "platform/value_tree/nx_session.h"

namespace nx {

class subscription_slots {
  using index = std::uint32_t;

 public:
  struct slot {
    std::shared_ptr<const std::string> path;  // shared with the node; null if the slot is free
    std::uint64_t place = 0;                  // its owner's
    std::uint32_t generation = 1;             // counts the slot's uses
    bool exact = false;                       // asked for by itself, not under a pattern
    bool open = false;
  };

  subscription_slots();
  subscription_slots(const subscription_slots&) = delete;
  subscription_slots& operator=(const subscription_slots&) = delete;

  /// Null once the subscription has ended. Valid until the next `add`.
  slot* find(nx_subscription_number number);
  /// Of a subscription that is there.
  const slot& at(nx_subscription_number number) const { return slots_[static_cast<index>(number)]; }
  /// no_subscription if there is none.
  nx_subscription_number find(std::string_view path) const;
  nx_subscription_number add(std::shared_ptr<const std::string> path);
  void erase(nx_subscription_number number);
  void clear();
  std::size_t size() const { return by_path_.size(); }

  std::vector<std::string> paths() const;
  std::vector<std::shared_ptr<const std::string>> shared_paths() const;

 private:
  const std::string& path_of(index at) const { return *slots_[at].path; }
  nx_subscription_number number_of(index at) const;

  struct path_hash {
    using is_transparent = void;
    const subscription_slots* of;
    std::size_t operator()(std::string_view path) const {
      return std::hash<std::string_view>()(path);
    }
    std::size_t operator()(index at) const { return (*this)(std::string_view(of->path_of(at))); }
  };
  struct same_path {
    using is_transparent = void;
    const subscription_slots* of;
    bool operator()(index left, index right) const { return left == right; }
    bool operator()(std::string_view left, index right) const { return left == of->path_of(right); }
    bool operator()(index left, std::string_view right) const { return right == of->path_of(left); }
  };

  std::vector<slot> slots_;
  std::vector<index> free_;
  std::unordered_set<index, path_hash, same_path> by_path_;
};

}  // namespace nx
