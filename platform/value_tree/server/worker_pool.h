// The threads that execute requests which may wait. A setter that waits for a lock or a device
// holds its thread, so the pool grows, up to its limit, rather than let others wait behind it.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace nx {

class worker_pool {
 public:
  worker_pool() = default;
  /// Executes what was posted before, then joins.
  ~worker_pool();
  worker_pool(const worker_pool&) = delete;
  worker_pool& operator=(const worker_pool&) = delete;

  /// Never blocks. The job must not throw.
  void post(std::function<void()> job);

  static constexpr std::size_t max_threads = 64;

 private:
  void work();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> jobs_;
  std::size_t idle_ = 0;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace nx
