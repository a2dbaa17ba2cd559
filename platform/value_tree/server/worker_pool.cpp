#include "platform/value_tree/server/worker_pool.h"

#include <pthread.h>

#include <ctime>
#include <system_error>
#include <utility>

#include "platform/note_log/note_log.h"

namespace nx {

worker_pool::worker_pool(settings how) : how_(std::move(how)) {
  const std::lock_guard lock(mutex_);
  start_thread();
}

worker_pool::~worker_pool() {
  std::unique_lock lock(mutex_);
  stopping_ = true;
  wake_.notify_all();
  while (!threads_.empty() || !gone_.empty()) {
    if (gone_.empty()) {
      wake_.wait(lock, [this] { return !gone_.empty(); });
    }
    auto gone = std::exchange(gone_, {});
    lock.unlock();
    for (auto& thread : gone)
      thread.join();
    lock.lock();
  }
}

std::size_t worker_pool::threads() const {
  const std::lock_guard lock(mutex_);
  return threads_.size();
}

void worker_pool::post(std::function<void()> job) {
  const std::lock_guard lock(mutex_);
  jobs_.push_back(std::move(job));
  have_one_ready();
}

// One thread more than are busy watches whether the work is blocked.
void worker_pool::have_one_ready() {
  if (idle_ == 0 && threads_.size() < how_.max_threads) add_thread();
  wake_.notify_one();
}

void worker_pool::start_thread() {
  threads_.emplace_front();
  try {
    threads_.front() = std::thread([this, self = threads_.begin()] { work(self); });
    ++idle_;
  } catch (...) {
    threads_.pop_front();
    throw;
  }
}

// If the system has no more threads, the existing ones do the work.
void worker_pool::add_thread() {
  for (auto& thread : std::exchange(gone_, {}))
    thread.join();
  try {
    start_thread();
  } catch (const std::system_error& failure) {
    note_log::write(note_log::warning, "nexel_api",
                    std::string("No further worker thread: ") + failure.what());
  }
}

void worker_pool::work(thread_list::iterator self) {
  take_rank(how_.thread_name, how_.rank);
  std::unique_lock lock(mutex_);
  while (wait_for_turn(lock))
    take_job(lock);
  --idle_;
  gone_.splice(gone_.end(), threads_, self);
  wake_.notify_all();
}

// False if the thread is to end.
bool worker_pool::wait_for_turn(std::unique_lock<std::mutex>& lock) {
  while (true) {
    const auto now = clock::now();
    if (jobs_.empty()) {
      if (stopping_) return false;
      if (wake_.wait_for(lock, how_.rest) == std::cv_status::no_timeout || !jobs_.empty()) continue;
      rest_a_while(lock);
      if (jobs_.empty() && threads_.size() > how_.usual_threads) return false;
    } else if (may_take(now)) {
      return true;
    } else {
      wake_.wait_until(lock, last_progress_ + how_.standstill);
    }
  }
}

bool worker_pool::may_take(clock::time_point now) {
  if (executing_ < how_.usual_threads) return true;
  if (now < last_progress_ + how_.standstill) return false;
  if (!computed_meanwhile()) return true;
  last_progress_ = now;
  return false;
}

// On a busy machine a job may take long without being blocked.
bool worker_pool::computed_meanwhile() {
  std::chrono::nanoseconds sum{};
  for (auto& thread : threads_) {
    clockid_t clock_of_thread{};
    timespec used{};
    if (::pthread_getcpuclockid(thread.native_handle(), &clock_of_thread) != 0) continue;
    if (::clock_gettime(clock_of_thread, &used) != 0) continue;
    sum += std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
  }
  const auto since = sum - std::exchange(computed_, sum);
  return since > how_.standstill / 4;
}

void worker_pool::take_job(std::unique_lock<std::mutex>& lock) {
  auto job = std::move(jobs_.front());
  jobs_.pop_front();
  last_progress_ = clock::now();
  --idle_;
  ++executing_;
  worked_ = true;
  if (!jobs_.empty()) have_one_ready();
  lock.unlock();
  job();
  job = nullptr;  // destroyed without the lock
  lock.lock();
  --executing_;
  ++idle_;
}

void worker_pool::rest_a_while(std::unique_lock<std::mutex>& lock) {
  if (executing_ > 0 || !how_.at_rest || !std::exchange(worked_, false)) return;
  lock.unlock();
  how_.at_rest();
  lock.lock();
}

}  // namespace nx
