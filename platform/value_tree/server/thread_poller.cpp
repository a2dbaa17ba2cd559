#include "platform/value_tree/server/thread_poller.h"

#include <pthread.h>

#include <iterator>

#include "platform/note_log/note_log.h"
#include "platform/value_tree/nx_db_node.h"
#include "platform/value_tree/server/node_errors.h"

namespace nx {

thread_poller::thread_poller(std::size_t threads) {
  for (std::size_t i = 0; i < threads; ++i)
    threads_.emplace_back([this] { work(); });
}

thread_poller::~thread_poller() {
  stop();
}

void thread_poller::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  for (auto& thread : threads_)
    thread.join();
  threads_.clear();
}

void thread_poller::add(std::weak_ptr<nx_db_leaf_node> node, std::weak_ptr<const void> group,
                        std::chrono::milliseconds interval) {
  const std::lock_guard lock(mutex_);
  interval = std::max(interval, slot);
  put({std::move(node), std::move(group), interval, clock::now() + interval});
}

void thread_poller::put(task added) {
  const auto since_slot = added.due.time_since_epoch() % slot;
  if (since_slot.count() > 0) added.due += slot - since_slot;
  // Whoever watches the wheel waits for the slot that was first until now.
  if (wheel_.empty() || added.due < wheel_.begin()->first) wake_.notify_all();
  wheel_[added.due].push_back(std::move(added));
}

void thread_poller::work() {
  pthread_setname_np(pthread_self(), "nx_poller");
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    take_due();
    if (ready_.empty()) {
      wait(lock);
      continue;
    }
    task due = std::move(ready_.front());
    ready_.pop_front();
    wake_.notify_one();  // for the next task, or to watch the wheel meanwhile
    execute(std::move(due), lock);
  }
}

void thread_poller::take_due() {
  const auto now = clock::now();
  while (!wheel_.empty() && wheel_.begin()->first <= now) {
    auto& tasks = wheel_.begin()->second;
    std::move(tasks.begin(), tasks.end(), std::back_inserter(ready_));
    wheel_.erase(wheel_.begin());
  }
}

void thread_poller::wait(std::unique_lock<std::mutex>& lock) {
  if (watched_ || wheel_.empty()) {
    wake_.wait(lock);
    return;
  }
  watched_ = true;
  wake_.wait_until(lock, wheel_.begin()->first);
  watched_ = false;
}

void thread_poller::execute(task due, std::unique_lock<std::mutex>& lock) {
  lock.unlock();
  const bool goes_on = poll(due);
  lock.lock();
  if (!goes_on) return;
  // Turns that passed while the node was busy are not made up for.
  const auto now = clock::now();
  do {
    due.due += due.interval;
  } while (due.due <= now);
  put(std::move(due));
}

bool thread_poller::poll(const task& due) {
  const auto node = due.node.lock();
  if (!node || node->is_retired() || due.group.expired()) return false;
  try {
    node->periodic_task(false);
  } catch (...) {
    note_log::write(note_log::error, "nexel_api",
                    "Polling of " + node->get_path(0) + " failed: " + current_node_error().message);
  }
  return true;
}

}  // namespace nx
