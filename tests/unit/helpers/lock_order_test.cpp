// What makes debug builds abort: locks taken out of order, and a second thread where only one is
// allowed.
#include <gtest/gtest.h>

#include <mutex>
#include <thread>

#include "platform/threads/ranked_mutex.h"
#include "platform/threads/thread_owner.h"

namespace {

using nx::lock_rank;

#ifndef NDEBUG
TEST(lock_rank, lets_locks_be_taken_in_their_order_alone) {
  nx::ranked_mutex rx(lock_rank::plan_rx);
  nx::ranked_mutex tx(lock_rank::plan_tx);
  nx::ranked_recursive_mutex value(lock_rank::value);
  {
    const std::lock_guard first(rx);
    const std::lock_guard second(tx);
    const std::lock_guard third(value);
    const std::lock_guard again(value);
  }
  // Given back in any order, and nothing stays behind.
  std::unique_lock first(rx);
  std::unique_lock second(tx);
  first.unlock();
  second.unlock();
  const std::lock_guard later(tx);
  EXPECT_DEATH(rx.lock(), "against the order");
  EXPECT_DEATH(tx.lock(), "taken twice");
  const std::lock_guard leaf(value);
  nx::ranked_mutex other(lock_rank::value);
  EXPECT_DEATH(other.lock(), "against the order");
  // Each thread has its own.
  std::jthread([&] { const std::lock_guard alone(rx); }).join();
}

TEST(thread_owner, is_whoever_came_first) {
  nx::thread_owner owner;
  owner.require();
  owner.require();
  EXPECT_DEATH(std::jthread([&] { owner.require(); }).join(), "second thread");
}
#endif

}  // namespace
