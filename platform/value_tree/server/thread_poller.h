// The poll scheduler of a daemon: a wheel of short slots on a thread of its own, and workers that
// call the nodes which are due. A node whose getter waits for a device holds a worker, no client.
//
// Values that were slow at their last turn share a few workers among themselves, and a worker that
// waits in a value which was quick before is replaced at once: whatever one device does, values of
// the others are polled in time. Workers come with need, and go when fewer have
// been enough for a while: waiting workers are woken in turn, so that none of them is ever idle for
// long.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <list>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/value_tree/poll_scheduler.h"

namespace nx {

class thread_poller : public poll_scheduler {
 public:
  struct limits {
    std::size_t quick = 4;     ///< workers in quick values at a time
    std::size_t slow = 4;      ///< and in slow ones, unless they have become so just now
    std::size_t workers = 24;  ///< more than one device has values
    std::chrono::milliseconds slow_after{100};
    /// Another worker helps when due values have waited for this.
    std::chrono::milliseconds help_after{5};
    std::chrono::milliseconds idle{10'000};
  };

  thread_poller() : thread_poller(limits{}) {}
  explicit thread_poller(const limits& bounds);
  ~thread_poller() override;
  thread_poller(const thread_poller&) = delete;
  thread_poller& operator=(const thread_poller&) = delete;

  void add(std::weak_ptr<nx_db_leaf_node> node, std::weak_ptr<const void> group,
           std::chrono::milliseconds interval) override;

  /// Ends the threads; a call into a node that is under way is waited for.
  void stop();

  std::size_t worker_count() const;

  /// Due times are rounded up to slots, so that values of one interval are polled together.
  static constexpr std::chrono::milliseconds slot{50};

 private:
  using clock = std::chrono::steady_clock;
  struct task {
    std::weak_ptr<nx_db_leaf_node> node;
    std::weak_ptr<const void> group;
    std::chrono::milliseconds interval;
    clock::time_point due;
    bool slow = false;  ///< at its last turn
  };
  enum class doing { nothing, quick, slow };
  struct worker {
    std::thread thread;
    doing state = doing::nothing;
    clock::time_point since;  ///< of the state
    bool ended = false;
  };

  void keep_time();
  void put(task added);
  void take_due(clock::time_point now);
  void find_slow(clock::time_point now);
  void engage();
  void engage_one();
  void count_surplus(clock::time_point now);
  void join_ended(std::unique_lock<std::mutex>& lock);
  clock::time_point next_look(clock::time_point now) const;

  void work(worker& self);
  std::deque<task>* next_queue();
  void execute(worker& self, std::deque<task>& queue, std::unique_lock<std::mutex>& lock);
  void enter(worker& self, doing state);
  static bool poll(const task& due);

  const limits limits_;
  mutable std::mutex mutex_;
  std::condition_variable time_changed_;  // for the timekeeper
  std::condition_variable work_;          // for idle workers
  std::map<clock::time_point, std::vector<task>> wheel_;
  std::deque<task> quick_ready_;
  std::deque<task> slow_ready_;
  std::list<worker> workers_;
  std::size_t idle_ = 0;
  std::size_t in_quick_ = 0;
  std::size_t in_slow_ = 0;
  std::size_t busiest_ = 0;  // at a time, since `counted_since_`
  clock::time_point counted_since_ = clock::now();
  std::size_t surplus_ = 0;  // workers that are to go
  bool stopping_ = false;
  std::thread timekeeper_;
};

}  // namespace nx
