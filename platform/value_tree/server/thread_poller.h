// A daemon's poll scheduler: a wheel of short slots on its own thread, and workers that call the
// nodes that are due. A node whose getter waits for a device occupies a worker, not a client.
//
// Values that were slow at their last turn share a few workers, and a worker that waits in a value
// that used to be quick is replaced at once: whatever one device does, the values of the others are
// polled in time. Workers are added when needed, and removed when fewer have been enough for a
// while; idle workers are woken in turn, so none is idle for long.
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
    std::size_t slow = 4;      ///< and in slow ones, unless they have just become slow
    std::size_t workers = 24;  ///< more than one device has values
    std::chrono::milliseconds slow_after{100};
    /// Another worker helps once due values have waited this long.
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

  /// Ends the threads; waits for calls into nodes that are in progress.
  void stop();

  std::size_t worker_count() const;

  /// Due times are rounded up to slots, so that values with the same interval are polled together.
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
  std::size_t surplus_ = 0;  // workers that are to end
  bool stopping_ = false;
  std::thread timekeeper_;
};

}  // namespace nx
