// Calls periodic_task(false) of polled nodes. A daemon has a timer wheel with a small pool of
// threads; tests have a scheduler that they move by hand.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <queue>
#include <tuple>
#include <vector>

class nx_db_leaf_node;

namespace nx {

class poll_scheduler {
 public:
  virtual ~poll_scheduler() = default;

  /// Calls periodic_task(false) on the node once every `interval` until the node or the group is
  /// gone. The scheduler does not enter a node that is still busy with its last call.
  virtual void add(std::weak_ptr<nx_db_leaf_node> node, std::weak_ptr<const void> group,
                   std::chrono::milliseconds interval) = 0;
};

/// Runs the due tasks on the thread that calls `advance`, in order of their due times.
class manual_poller : public poll_scheduler {
 public:
  void add(std::weak_ptr<nx_db_leaf_node> node, std::weak_ptr<const void> group,
           std::chrono::milliseconds interval) override;
  void advance(std::chrono::milliseconds time);

 private:
  struct task {
    std::weak_ptr<nx_db_leaf_node> node;
    std::weak_ptr<const void> group;
    std::chrono::milliseconds interval;
    std::chrono::milliseconds due;
    unsigned long order;  // order of addition, among tasks that are due together

    bool operator>(const task& other) const {
      return std::tie(due, order) > std::tie(other.due, other.order);
    }
  };
  std::chrono::milliseconds now_{0};
  unsigned long added_ = 0;
  std::priority_queue<task, std::vector<task>, std::greater<>> tasks_;
};

}  // namespace nx
