// The order in which this process takes its locks, and a mutex that knows its place in it. A debug
// build aborts at the first lock taken out of order, in whatever test that happens, instead of once
// in a million runs when two threads meet. A release build uses the plain mutex.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <type_traits>

namespace nx {

/// Each may be taken while holding those above it or none, but never while holding one below it or
/// a second one of its own kind.
enum class lock_rank : std::uint8_t {
  parameter,    ///< of a parameter's node: held while its setter waits for a plan
  plan_rx,      ///< of a channel plan: held during a loop's walk over all channels
  plan_tx,      ///< both, for an operation that needs both
  peer,         ///< of the view of the peer: guards pointers, not held across any call
  peer_client,  ///< of the connection to the peer: the same
  key_store,    ///< held across an operation on the store
  panel,        ///< of the tables of the front panel: never held across a call to it
  value,        ///< of a node that a loop publishes: held for the update
  leaf          ///< of subscribers, outboxes and the like: nothing else is taken under it
};

#ifndef NDEBUG
class held_locks {
 public:
  static void take(const void* which, lock_rank rank, bool again_allowed) {
    auto& mine = of_this_thread();
    bool is_held = false;
    for (std::size_t i = 0; i < mine.count_; ++i)
      is_held = is_held || mine.locks_[i].which == which;
    assert((!is_held || again_allowed) && "a mutex is taken twice");
    assert((is_held || mine.count_ == 0 || mine.highest() < rank) &&
           "a lock is taken against the order of lock_rank");
    assert(mine.count_ < mine.locks_.size());
    mine.locks_[mine.count_++] = {which, rank};
  }
  static void release(const void* which) {
    auto& mine = of_this_thread();
    for (std::size_t i = mine.count_; i-- > 0;) {
      if (mine.locks_[i].which != which) continue;
      for (--mine.count_; i < mine.count_; ++i)
        mine.locks_[i] = mine.locks_[i + 1];
      return;
    }
  }

 private:
  struct lock {
    const void* which;
    lock_rank rank;
  };

  static held_locks& of_this_thread() {
    static thread_local held_locks mine;
    return mine;
  }
  lock_rank highest() const {
    auto found = locks_[0].rank;
    for (std::size_t i = 1; i < count_; ++i)
      found = found < locks_[i].rank ? locks_[i].rank : found;
    return found;
  }

  std::array<lock, 16> locks_{};
  std::size_t count_ = 0;
};
#endif

/// Mutex: std::mutex, or std::recursive_mutex, which a thread may take again while it holds it.
template <class Mutex>
class ranked {
 public:
#ifdef NDEBUG
  explicit ranked(lock_rank) {}
  void lock() {
    mutex_.lock();
  }
  bool try_lock() {
    return mutex_.try_lock();
  }
  void unlock() {
    mutex_.unlock();
  }
#else
  explicit ranked(lock_rank rank) : rank_(rank) {}
  void lock() {
    held_locks::take(this, rank_, is_recursive);
    mutex_.lock();
  }
  /// Does not wait itself, but locks taken under it may.
  bool try_lock() {
    if (!mutex_.try_lock()) return false;
    held_locks::take(this, rank_, is_recursive);
    return true;
  }
  void unlock() {
    mutex_.unlock();
    held_locks::release(this);
  }
#endif

 private:
#ifndef NDEBUG
  static constexpr bool is_recursive = std::is_same_v<Mutex, std::recursive_mutex>;
  const lock_rank rank_;
#endif
  Mutex mutex_;
};

using ranked_mutex = ranked<std::mutex>;
using ranked_recursive_mutex = ranked<std::recursive_mutex>;

}  // namespace nx
