// The threads that execute what the I/O thread must not. A setter that waits for a lock or a device
// holds its thread, so the pool grows when its work stands still; work that only takes its time
// gets no more threads for it. What is not needed any more goes.
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
    std::size_t usual_threads = 2;  ///< that execute jobs side by side
    std::size_t max_threads = 64;
    /// No job was taken up for so long while one waits, and the threads have hardly computed: they
    /// wait for something.
    std::chrono::milliseconds standstill{20};
    /// After so long without work a thread calls `at_rest`, and goes if it is one too many.
    std::chrono::milliseconds rest{5000};
    std::function<void()> at_rest;
  };

  /// Starts one thread, which stays. Throws std::system_error.
  explicit worker_pool(settings how);
  /// Executes what was posted before, then joins.
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
  std::chrono::nanoseconds computed_{};  // by all threads, when that was looked at last
  std::size_t idle_ = 0;
  std::size_t executing_ = 0;
  bool worked_ = false;  // since a thread was at rest
  bool stopping_ = false;
  thread_list threads_;
  thread_list gone_;  // to be joined
};

}  // namespace nx
