// The threads that execute what the I/O thread must not. A setter that waits for a lock or a device
// occupies its thread, so the pool grows when its work is blocked; work that merely takes long gets
// no additional threads. Threads that are no longer needed end.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/value_tree/thread_rank.h"

namespace nx {

class worker_pool {
 public:
  struct settings {
    const char* thread_name = "nx_worker";
    thread_rank rank = thread_rank::serving;
    std::size_t usual_threads = 2;  ///< that execute jobs concurrently
    std::size_t max_threads = 64;
    /// If no job has been taken up for this long although one is waiting, and the threads have
    /// hardly used the processor, they are blocked.
    std::chrono::milliseconds standstill{20};
    /// After this long without work a thread calls `at_rest`, and ends if it is one too many.
    std::chrono::milliseconds rest{5000};
    std::function<void()> at_rest;
  };

  /// Starts one thread, which stays. Throws std::system_error.
  explicit worker_pool(settings how);
  /// Executes the jobs posted so far, then joins.
  ~worker_pool();
  worker_pool(const worker_pool&) = delete;
  worker_pool& operator=(const worker_pool&) = delete;

  /// Never blocks. The job must not throw.
  void post(std::function<void()> job);

  std::size_t threads() const;

 private:
  using clock = std::chrono::steady_clock;
  using thread_list = std::list<std::thread>;

  void work(thread_list::iterator self);
  bool wait_for_turn(std::unique_lock<std::mutex>& lock);
  bool may_take(clock::time_point now);
  bool computed_meanwhile();
  void take_job(std::unique_lock<std::mutex>& lock);
  void rest_a_while(std::unique_lock<std::mutex>& lock);
  void start_thread();
  void add_thread();
  void have_one_ready();

  const settings how_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> jobs_;
  clock::time_point last_progress_{};
  std::chrono::nanoseconds computed_{};  // processor time of all threads at the last check
  std::size_t idle_ = 0;
  std::size_t executing_ = 0;
  bool worked_ = false;  // since a thread was at rest
  bool stopping_ = false;
  thread_list threads_;
  thread_list gone_;  // to be joined
};

}  // namespace nx
