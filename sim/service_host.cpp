#include "sim/service_host.h"

namespace sim {

namespace {

constexpr unsigned peer_port = 5100;
// Appended to the address of a service that is behind a proxy.
constexpr const char* behind = ".near";

/// A peer is not a device: its tree is where a node has its own.
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
                         name == "peer" ? peer_interface : ""});
    }
  }
  add({0, "sim"}, {plant::nexel_address("sim"), &of.control_tree(), ""});
  of.set_state_handler([this](unsigned node, const std::string& name, nexel_state state) {
    ask(node, name, [this, state](service& asked) { apply(asked, state); });
  });
  of.set_latency_handler(
      [this](unsigned node, const std::string& name, std::chrono::milliseconds latency) {
        ask(node, name, [this, latency](service& asked) { apply(asked, latency); });
      });
}

void service_host::ask(unsigned node, const std::string& name,
                       std::function<void(service&)> change) {
  const std::lock_guard lock(requests_mutex_);
  requests_.push_back({{node, name}, std::move(change)});
}

void service_host::add(const service_key& of, service what) {
  start(services_[of] = std::move(what));
}

void service_host::start(service& of) {
  const bool slow = of.latency.count() > 0;
  const std::string path = slow ? of.path + behind : of.path;
  of.server = std::make_unique<nx::nx_server>(runtime_, *of.tree, path);
  of.server->start_accepting();
  // A refusing service does that itself, in the answers to writes.
  if (of.state == nexel_state::hung) of.server->set_fault(nx::server_fault::hung);
  if (slow) {
    of.slow = std::make_unique<delay_proxy>(of.path, path, of.latency);
    if (!of.interface.empty()) of.slow->listen_on_interface(of.interface, peer_port);
  } else if (!of.interface.empty()) {
    of.server->start_ipv6_socket(of.interface, peer_port);
  }
}

void service_host::stop(service& of) {
  of.slow.reset();
  of.server.reset();
}

void service_host::apply(service& of, nexel_state state) {
  of.state = state;
  if (state == nexel_state::killed) return stop(of);
  if (!of.server) return start(of);
  of.server->set_fault(state == nexel_state::hung ? nx::server_fault::hung
                                                  : nx::server_fault::none);
}

void service_host::apply(service& of, std::chrono::milliseconds latency) {
  of.latency = latency;
  if (of.slow) return of.slow->set_latency(latency);
  if (!of.server || latency.count() == 0) return;
  stop(of);
  start(of);
}

void service_host::work() {
  std::vector<request> due;
  {
    const std::lock_guard lock(requests_mutex_);
    due.swap(requests_);
  }
  for (const request& each : due)
    each.change(services_.at(each.of));
}

}  // namespace sim
