// The poll scheduler of a daemon: a wheel of short slots, and a few threads that call the nodes
// which are due. A node whose getter waits for a device holds one of the threads, no client.
#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/value_tree/poll_scheduler.h"

namespace nx {

class thread_poller : public poll_scheduler {
 public:
  explicit thread_poller(std::size_t threads = 4);
  ~thread_poller() override;
  thread_poller(const thread_poller&) = delete;
  thread_poller& operator=(const thread_poller&) = delete;

  void add(std::weak_ptr<nx_db_leaf_node> node, std::weak_ptr<const void> group,
           std::chrono::milliseconds interval) override;

  /// Ends the threads; a call into a node that is under way is waited for.
  void stop();

  /// Due times are rounded up to slots, so that values of one interval are polled together.
  static constexpr std::chrono::milliseconds slot{50};

 private:
  using clock = std::chrono::steady_clock;
  struct task {
    std::weak_ptr<nx_db_leaf_node> node;
    std::weak_ptr<const void> group;
    std::chrono::milliseconds interval;
    clock::time_point due;
  };

  void work();
  void put(task added);
  void take_due();
  void wait(std::unique_lock<std::mutex>& lock);
  void execute(task due, std::unique_lock<std::mutex>& lock);
  static bool poll(const task& due);

  std::mutex mutex_;
  std::condition_variable wake_;
  std::map<clock::time_point, std::vector<task>> wheel_;
  std::deque<task> ready_;
  bool watched_ = false;  // a thread waits for the next slot; the others wait for ready tasks
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace nx
