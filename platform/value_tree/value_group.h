// The polled values of one owner: a channel, a loop, a manager. Dropping the group ends the polling
// of its values.
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

class nx_db_leaf_node;

namespace nx::api {

class value_group : public std::enable_shared_from_this<value_group> {
 public:
  /// `period` is the unit of the intervals; both counts are 0 in this system.
  value_group(const std::chrono::milliseconds& period, unsigned first_count, unsigned second_count);

  /// A group with a period in whole seconds, as all owners use it.
  static std::shared_ptr<value_group> create(unsigned period_seconds);

  /// Keeps the node, makes `interval` its poll_interval and, unless that is 0, has it polled once
  /// every `interval` periods. The node must be attached to a tree.
  void add_value(std::shared_ptr<nx_db_leaf_node> node, unsigned interval);

 private:
  std::chrono::milliseconds period_;
  std::mutex mutex_;
  std::vector<std::shared_ptr<nx_db_leaf_node>> nodes_;
};

}  // namespace nx::api
