#include "platform/value_tree/server/worker_pool.h"

#include <pthread.h>

namespace nx {

worker_pool::~worker_pool() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (auto& thread : threads_)
    thread.join();
}

void worker_pool::post(std::function<void()> job) {
  {
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
    // An idle thread counts until it has taken its job, hence the comparison.
    if (jobs_.size() > idle_ && threads_.size() < max_threads) {
      threads_.emplace_back([this] { work(); });
    }
  }
  wake_.notify_one();
}

void worker_pool::work() {
  pthread_setname_np(pthread_self(), "nx_worker");
  std::unique_lock lock(mutex_);
  while (true) {
    ++idle_;
    wake_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
    --idle_;
    if (jobs_.empty()) return;
    const auto job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    job();
    lock.lock();
  }
}

}  // namespace nx
