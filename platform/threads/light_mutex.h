// A mutex for what is held for a few instructions and taken for every event of every session: an
// atomic operation each way, inlined, where std::mutex costs two calls that look at its kind first.
// Any thread; one that finds it taken sleeps. It is not recursive, and hands nobody its priority.
#pragma once

#include <atomic>

namespace nx {

class light_mutex {
 public:
  void lock() {
    if (!try_lock()) wait_and_lock();
  }
  bool try_lock() {
    int expected = open;
    return state_.compare_exchange_strong(expected, taken, std::memory_order_acquire,
                                          std::memory_order_relaxed);
  }
  void unlock() {
    if (state_.exchange(open, std::memory_order_release) == awaited) state_.notify_one();
  }

 private:
  static constexpr int open = 0;
  static constexpr int taken = 1;
  static constexpr int awaited = 2;  // taken, and somebody may sleep

  // Who has slept cannot know whether others still do, and so leaves it marked as awaited.
  void wait_and_lock() {
    while (state_.exchange(awaited, std::memory_order_acquire) != open)
      state_.wait(awaited, std::memory_order_relaxed);
  }

  std::atomic<int> state_{open};
};

}  // namespace nx
