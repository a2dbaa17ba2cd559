#include "sim/service_host.h"

namespace sim {

namespace {

constexpr unsigned peer_port = 5100;

/// A peer is no device: its tree stands where a node has its own.
std::string address_of(const std::string& name) {
  return name == "peer" ? "/tmp/device_managers/lumora" : plant::nexel_address(name);
}

}  // namespace

service_host::service_host(plant& of, const std::string& far_prefix,
                           const std::string& peer_interface) {
  for (unsigned node = 0; node < 2; ++node) {
    const std::string prefix = node == 0 ? "" : far_prefix;
    for (const std::string& name : of.nexel_names(node)) {
      add({node, name}, {prefix + address_of(name), &of.nexel_tree(name, node),
                         name == "peer" ? peer_interface : "", nullptr});
    }
  }
  add({0, "sim"}, {plant::nexel_address("sim"), &of.control_tree(), "", nullptr});
  of.set_state_handler([this](unsigned node, const std::string& name, nexel_state state) {
    const std::lock_guard lock(requests_mutex_);
    requests_.push_back({{node, name}, state});
  });
}

void service_host::add(const service_key& of, service what) {
  start(services_[of] = std::move(what));
}

void service_host::start(service& of) {
  of.server = std::make_unique<nx::nx_server>(runtime_, *of.tree, of.path);
  of.server->start_accepting();
  if (!of.interface.empty()) of.server->start_ipv6_socket(of.interface, peer_port);
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
