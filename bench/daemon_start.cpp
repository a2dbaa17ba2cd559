#include "bench/daemon_start.h"

#include <chrono>

namespace bench {

seconds start_to_first_cycle(test::daemon_node& node, const std::string& product) {
  using clock = std::chrono::steady_clock;
  constexpr seconds prescribed_wait{1};
  const auto begin = clock::now();
  auto& daemon = node.start_daemon({"--product", product});
  require(daemon.wait_for("Manager starting up."), "the daemon does not start");
  require(node.await_configuration(), "the daemon is not built");
  const seconds built = clock::now() - begin;
  node.write("debug/loglevel", "\"verbose\"");
  node.write("config/redisConfigStatus", "true");
  require(daemon.wait_for("Redis configuration received, proceeding."), "no configuration");
  const auto configured = clock::now();
  require(daemon.wait_for("Manager operational, regulating: "), "no cycle");
  const seconds first_cycle = clock::now() - configured - prescribed_wait;
  node.write("debug/loglevel", "\"normal\"");
  return built + first_cycle;
}

}  // namespace bench
