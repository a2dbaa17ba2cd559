#include "sim/service_host.h"

namespace sim {

service_host::service_host(plant& of, std::string far_prefix) {
  for (unsigned node = 0; node < of.get_topology().nodes.size(); ++node) {
    const std::string prefix = node == 0 ? "" : far_prefix;
    for (const std::string& name : of.nexel_names(node)) {
      add(node, name, prefix + plant::nexel_address(name), of.nexel_tree(name, node));
    }
  }
  add(0, "sim", plant::nexel_address("sim"), of.control_tree());
  of.set_state_handler([this](unsigned node, const std::string& name, nexel_state state) {
    const std::lock_guard lock(requests_mutex_);
    requests_.push_back({{node, name}, state});
  });
}

void service_host::add(unsigned node, const std::string& name, const std::string& path,
                       nx_db& tree) {
  service& added = services_[{node, name}];
  added.path = path;
  added.tree = &tree;
  start(added);
}

void service_host::start(service& of) {
  of.server = std::make_unique<nx::nx_server>(runtime_, *of.tree, of.path);
  of.server->start_accepting();
}

void service_host::apply(service& of, nexel_state state) {
  if (state == nexel_state::killed) {
    of.server.reset();
    return;
  }
  if (!of.server) start(of);
  // A service that refuses does so by itself, in the answers to writes.
  of.server->set_fault(state == nexel_state::hung ? nx::server_fault::hung
                                                  : nx::server_fault::none);
}

void service_host::work() {
  std::vector<request> due;
  {
    const std::lock_guard lock(requests_mutex_);
    due.swap(requests_);
  }
  for (const request& each : due)
    apply(services_.at(each.of), each.state);
}

}  // namespace sim
