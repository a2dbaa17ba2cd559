// Sits between the process and the product's manager: waits until the key store answers, lets the
// manager build itself, waits until the management software has written the configuration, and runs
// the manager's main loop.
#pragma once

#include <atomic>
#include <memory>

#include "api/status_value.h"
#include "base/manager/interface.h"

class nx_db;
class nx_db_leaf_node;
namespace nx::api {
class lazy_node;
}

class lumora_manager : public std::enable_shared_from_this<lumora_manager> {
 public:
  /// Puts "data/configStatus" on the tree; starts nothing.
  explicit lumora_manager(nx_db& tree);

  /// The body of the manager thread. Returns when the main loop ends, after a failure, which is
  /// logged, or when `*running` becomes false during one of the waits. Does not throw.
  void start(std::shared_ptr<manager::interface>& manager, bool* running);

  /// Setter of "config/redisConfigStatus", on a server thread. The flag is not read once the main
  /// loop runs.
  void set_redis_config_status(bool value);

  /// Getter of "insight/start": what keeps the node from starting, or from starting properly. Error
  /// -61 if nothing does.
  std::string get_start();

 private:
  void publish_start();
  void run_phases(manager::interface& manager, bool* running);
  bool await_redis(bool* running);
  bool await_configuration(bool* running);

  nx_db& db;
  std::shared_ptr<nx::api::status_value<bool>> config_status;
  std::atomic<bool> redis_config_status{false};
  std::shared_ptr<nx_db_leaf_node> redis_config_param;
  std::shared_ptr<nx::api::lazy_node> start_value;
};
