// Serves every tree of a plant on its unix socket, and makes the services hang, die, come back and
// answer late as the plant's controls ask. Requests are collected from any thread and carried out
// by the program's main thread, so that no service is taken down from within one of its own
// requests.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/value_tree/nx_server.h"
#include "sim/delay_proxy.h"
#include "sim/plant.h"

namespace sim {

class service_host {
 public:
  /// Node 0 is served at its own addresses under NX_ROOT, node 1 under `far_prefix` there; a
  /// simulated peer also on `peer_interface`, where a node serves its neighbour. Throws
  /// std::runtime_error if a socket cannot be bound.
  service_host(plant& of, const std::string& far_prefix, const std::string& peer_interface);

  /// Carries out what has been requested since the last call.
  void work();
  std::size_t count() const { return services_.size(); }

 private:
  struct service {
    std::string path;
    nx_db* tree;
    std::string interface;  // of the supervisory link; empty for a plain unix socket
    nexel_state state = nexel_state::ok;
    std::chrono::milliseconds latency{0};
    std::unique_ptr<nx::nx_server> server{};
    /// Placed in front of the server once it has been made slow; stays afterwards, so that
    /// connections survive.
    std::unique_ptr<delay_proxy> slow{};
  };
  using service_key = std::pair<unsigned, std::string>;
  struct request {
    service_key of;
    std::function<void(service&)> change;
  };

  void add(const service_key& of, service what);
  void ask(unsigned node, const std::string& name, std::function<void(service&)> change);
  void start(service& of);
  void stop(service& of);
  void apply(service& of, nexel_state state);
  void apply(service& of, std::chrono::milliseconds latency);

  nx::server_runtime runtime_;
  std::map<service_key, service> services_;
  std::mutex requests_mutex_;
  std::vector<request> requests_;
};

}  // namespace sim
