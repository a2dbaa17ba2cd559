#include "platform/value_tree/value_group.h"

#include "platform/value_tree/nx_db.h"

namespace nx::api {

value_group::value_group(const std::chrono::milliseconds& period, unsigned, unsigned)
    : period_(period) {}

std::shared_ptr<value_group> value_group::create(unsigned period_seconds) {
  return std::make_shared<value_group>(std::chrono::milliseconds(period_seconds * 1000), 0, 0);
}

void value_group::add_value(std::shared_ptr<nx_db_leaf_node> node, unsigned interval) {
  node->poll_interval = interval;
  if (interval != 0 && node->db != nullptr) {
    if (const auto poller = node->db->get_poller()) {
      poller->add(node, weak_from_this(), period_ * interval);
    }
  }
  const std::lock_guard lock(mutex_);
  nodes_.push_back(std::move(node));
}

}  // namespace nx::api
