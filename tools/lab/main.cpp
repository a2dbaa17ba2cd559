// lumora_lab: a whole node on a desk. Starts a key store, the simulated plant and the daemon,
// lights the channels and shows how they reach their targets.
#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tools/lab/gateways.h"
#include "tools/lab/installation.h"
#include "tools/lab/lab_failure.h"
#include "tools/lab/lab_folder.h"
#include "tools/lab/node.h"
#include "tools/lab/options.h"
#include "tools/lab/peer_link.h"
#include "tools/lab/plant_service.h"
#include "tools/lab/screen.h"
#include "tools/lab/session.h"
#include "tools/lab/store.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/user.h"

namespace tools::lab {

namespace {

// No interface has this name: a single node opens no network port.
constexpr const char* no_interface = "lumora-lab";
constexpr const char* loopback = "lo";

void announce(const lab_folder& folder, const options& given) {
  fmt::print("lab folder {}\n", folder.path().string());
  fmt::print("try        {} explain\n", (folder.path() / "ctl").string());
  if (given.log) fmt::print("logs       {}/*.log\n", folder.logs().string());
  std::fflush(stdout);
}

/// The supervisory link, if there is a peer and the system allows one. Otherwise a simulated peer
/// replaces the far daemon.
std::optional<peer_link> connect(supervisor& programs, const lab_folder& folder, neighbour& peer) {
  if (peer.what == neighbour::kind::none) return std::nullopt;
  try {
    return std::make_optional<peer_link>(programs, folder);
  } catch (const link_refused& refusal) {
    if (peer.is_daemon()) peer = simulated_like(peer.name);
    fmt::print("{}; one daemon faces a simulated {}\n", refusal.what(), peer.name);
    std::fflush(stdout);
    return std::nullopt;
  }
}

/// Two nodes that know each other's address on the supervisory link.
std::string pair_topology(const options& given) {
  return fmt::format(
      R"({{"nodes":[{{"product":"{}","osc":{{"neighbour":"fe80::2%osc0"}}}},)"
      R"({{"product":"{}","osc":{{"neighbour":"fe80::1%osc0"}}}}],"fibres":[{{"length":80}}]}})",
      given.product, given.peer.name);
}

std::filesystem::path topology_of(const options& given, const lab_folder& folder) {
  if (!given.topology.empty()) return std::filesystem::absolute(given.topology);
  if (!given.peer.is_daemon()) {
    return simulator_file(fmt::format("topologies/{}.json", given.product));
  }
  auto path = folder.path() / "topology.json";
  std::ofstream(path) << pair_topology(given) << '\n';
  return path;
}

plant_options plant_of(const options& given, const lab_folder& folder, const store& keys,
                       const std::optional<peer_link>& link) {
  plant_options what{folder.root(0),
                     topology_of(given, folder),
                     given.seed,
                     given.peer.is_daemon() ? 2U : 1U,
                     {},
                     {}};
  if (given.peer.is_daemon()) what.arguments = {"--far-hash-tag", keys.configuration_tag(1)};
  if (!given.peer.is_simulated()) return what;
  what.arguments = {"--peer", given.peer.name, "--peer-interface",
                    link ? peer_link::interface : loopback};
  if (link) what.enter_with = link->enter_far();
  return what;
}

node_options near_node(const lab_folder& folder, const options& given, bool linked) {
  return {0,
          given.peer.is_daemon() ? "near" : "daemon",
          folder.root(0).string(),
          given.product,
          linked ? peer_link::interface : no_interface,
          {}};
}

node_options far_node(const lab_folder& folder, const options& given, const peer_link& link) {
  return {
      1, "far", folder.root(1).string(), given.peer.name, peer_link::interface, link.enter_far()};
}

/// A command that reaches a node's tree from anywhere, short enough for the last line of a screen.
std::string ctl_script(const lab_folder& folder, unsigned node) {
  return (folder.path() / (node == 0 ? "ctl" : "ctl-far")).string();
}

void write_ctl_script(const lab_folder& folder, unsigned node) {
  const auto path = ctl_script(folder, node);
  std::ofstream(path) << fmt::format("#!/bin/sh\nNX_ROOT='{}' exec '{}' \"$@\"\n",
                                     folder.root(node).string(),
                                     program_path("lumoractl").string());
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

session::elsewhere place_of(const lab_folder& folder, const gateways& web, unsigned node) {
  return {ctl_script(folder, node) + " explain", web.address(node)};
}

void announce_pages(const gateways& web, bool both) {
  const auto near = web.address(0);
  if (near.empty()) return;
  fmt::print("page       {}\n", near);
  if (both) fmt::print("far page   {}\n", web.address(1));
  std::fflush(stdout);
}

int watch(session& watched, const lab_folder& folder, const gateways& web, const options& given) {
  if (given.until_converged) {
    const std::chrono::seconds limit(*given.until_converged);
    return watched.print_until_converged(limit) ? exit_ok : exit_failed;
  }
  if (!screen::available()) {
    watched.print_lines();
    return exit_ok;
  }
  watched.show_on_screen({place_of(folder, web, 0), place_of(folder, web, 1)});
  return exit_ok;
}

int run_in(lab_folder& folder, options given) {
  user at_terminal;
  supervisor programs(at_terminal);
  announce(folder, given);
  for (const unsigned node : {0U, 1U})
    write_ctl_script(folder, node);
  const auto web =
      given.web ? gateways(programs, folder, given.peer.is_daemon() ? 2 : 1) : gateways();
  const auto link = connect(programs, folder, given.peer);
  const store keys(programs, folder, given.peer.is_daemon() ? 2 : 1);
  plant_service plant(programs, folder, keys, plant_of(given, folder, keys, link));
  node near(programs, folder, keys, plant, near_node(folder, given, link.has_value()));
  std::optional<node> far;
  if (given.peer.is_daemon()) {
    far.emplace(programs, folder, keys, plant, far_node(folder, given, link.value()));
  }
  std::vector<node*> nodes{&near};
  if (far) nodes.push_back(&*far);
  for (auto* each : nodes)
    each->configure(programs);
  for (auto* each : nodes)
    each->light_up();
  announce_pages(web, far.has_value());
  session watched(programs, at_terminal, nodes, given.peer);
  return watch(watched, folder, web, given);
}

int run(const options& given) {
  lab_folder folder(given.keep || given.log);
  try {
    return run_in(folder, given);
  } catch (const lab_failure& failure) {
    folder.keep();
    throw lab_failure(
        fmt::format("{}\nThe logs stay in {}", failure.what(), folder.logs().string()));
  }
}

int run_guarded(const options& given) {
  try {
    return run(given);
  } catch (const interrupted&) {
    return given.until_converged ? exit_failed : exit_ok;
  } catch (const std::exception& error) {
    fmt::print(stderr, "lumora_lab: {}\n", error.what());
    return exit_failed;
  }
}

}  // namespace

}  // namespace tools::lab

int main(int argc, char** argv) {
  using namespace tools::lab;
  options given;
  if (const auto code = read_options(argc, argv, given)) return *code;
  // Every socket path here already contains the lab's own folder.
  unsetenv("NX_ROOT");  // NOLINT(concurrency-mt-unsafe): no other thread yet
  return run_guarded(given);
}
