#include "platform/value_tree/nx_db_node.h"
#include "platform/value_tree/poll_scheduler.h"

namespace nx {

void manual_poller::add(std::weak_ptr<nx_db_leaf_node> node, std::weak_ptr<const void> group,
                        std::chrono::milliseconds interval) {
  tasks_.push({std::move(node), std::move(group), interval, now_ + interval, added_++});
}

void manual_poller::advance(std::chrono::milliseconds time) {
  const auto end = now_ + time;
  while (!tasks_.empty() && tasks_.top().due <= end) {
    task due = tasks_.top();
    tasks_.pop();
    now_ = due.due;
    const auto node = due.node.lock();
    if (!node || node->is_retired() || due.group.expired()) continue;
    node->periodic_task(false);
    due.due += due.interval;
    tasks_.push(std::move(due));
  }
  now_ = end;
}

}  // namespace nx
