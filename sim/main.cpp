// lumora_sim: serves the simulated plant of a topology in real time.
#include <signal.h>
#include <time.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/wire/socket_path.h"
#include "sim/plant.h"
#include "sim/plant/topology_json.h"
#include "sim/service_host.h"
#include "sim/store_follower.h"

namespace {

constexpr std::chrono::milliseconds tick(50);

struct options {
  std::string topology_path;
  std::optional<std::uint64_t> seed;
  double speed = 1.0;
  bool board = false;
  bool print_board = false;
  std::string far_prefix = "/far";
  std::optional<std::string> far_tag;
  std::string peer;
  std::string peer_interface = "osc0";
  std::vector<std::string> latencies;
};

std::optional<int> read_options(int argc, char** argv, options& to) {
  CLI::App app(
      "Serves the simulated plant of a topology file: the device services of one or two "
      "nodes and the light between them.");
  app.set_version_flag("--version", LUMORA_VERSION, "print the version and exit");
  app.add_option("TOPOLOGY.json", to.topology_path, "the plant's topology")->required();
  app.add_option("--seed", to.seed, "seed of all noise, instead of the file's");
  app.add_option("--speed", to.speed, "plant seconds per second")->check(CLI::Range(0.01, 100.0));
  app.add_flag("--board", to.board,
               "write each node's calibration file under its root (NX_ROOT must be set)");
  app.add_flag("--print-board", to.print_board, "print the near node's calibration file and exit");
  app.add_option("--far-prefix", to.far_prefix,
                 "folder under NX_ROOT for the sockets of a second node");
  app.add_option("--far-hash-tag", to.far_tag,
                 "REDIS_CONF_HASH_TAG of a second node, whose switch reads keys of its own");
  app.add_option("--peer", to.peer,
                 "the peer that the far end of a single node plays on the supervisory link")
      ->check(CLI::IsMember(models::simulated_peers()));
  app.add_option("--peer-interface", to.peer_interface,
                 "interface on which the peer is served; lo for a daemon on this machine")
      ->capture_default_str();
  app.add_option("--latency", to.latencies,
                 "NAME=MS: delay of a service of the near node, or of the peer, from its first "
                 "answer on; may be repeated")
      ->allow_extra_args(false);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }
  return std::nullopt;
}

void write_boards(const sim::plant& plant, const options& from) {
  if (std::getenv("NX_ROOT") == nullptr) {
    throw std::runtime_error(
        "--board: NX_ROOT is not set, and the real board file stays untouched");
  }
  for (unsigned node = 0; node < plant.get_topology().nodes.size(); ++node) {
    const std::filesystem::path path = nx::rooted_path(
        (node == 0 ? "" : from.far_prefix) + "/mnt/board_info/calibration_data/lumora/lumora.conf");
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path);
    file << plant.board_file(node);
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
  }
}

using followers = std::vector<std::unique_ptr<sim::store_follower>>;

/// Follows the store of each node whose switch uses it; needs the hash tag of its keys.
followers follow_stores(sim::plant& plant, const options& from) {
  std::array<std::optional<std::string>, 2> tags{std::nullopt, from.far_tag};
  if (const char* near_tag = std::getenv("REDIS_CONF_HASH_TAG")) tags[0] = near_tag;
  followers all;
  const auto& nodes = plant.get_topology().nodes;
  for (unsigned node = 0; node < nodes.size(); ++node) {
    if (!tags[node] || sim::model_of(nodes[node]).kin != models::family::selka) continue;
    auto* store = all.emplace_back(std::make_unique<sim::store_follower>(*tags[node])).get();
    plant.set_switch_source(
        [store](const std::string& module, unsigned channel) {
          return store->attenuation(module, channel);
        },
        node);
  }
  return all;
}

/// The file's topology with the changes from the command line.
sim::topology chosen_topology(const options& from) {
  sim::topology topology = sim::load_topology(from.topology_path);
  if (from.seed) topology.seed = *from.seed;
  if (from.peer.empty()) return topology;
  topology.peer = from.peer;
  // Both ends on one machine: the neighbour is where the peer is served.
  if (from.peer_interface == "lo") topology.nodes.front().osc.neighbour = "::1%lo";
  return topology;
}

/// `text` is NAME=MS.
void set_latency(sim::plant& plant, const std::string& text) {
  const auto number = std::min(text.find('='), text.size() - 1) + 1;
  const std::string name = text.substr(0, number - 1);
  unsigned latency_ms = 0;
  const char* end = text.data() + text.size();
  const auto read = std::from_chars(text.data() + number, end, latency_ms);
  if (read.ec != std::errc() || read.ptr != end) {
    throw std::runtime_error("--latency: found '" + text + "', accepted is NAME=MS");
  }
  plant.set_latency(name == "peer" ? 1 : 0, name, std::chrono::milliseconds(latency_ms));
}

/// Blocked in every thread, so that only `wait_for_signal` receives them.
sigset_t block_stop_signals() {
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);
  return stop;
}

/// True if a stop signal came before the time was over.
bool wait_for_signal(const sigset_t& stop, std::chrono::nanoseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  const timespec timeout{static_cast<time_t>(seconds.count()),
                         static_cast<long>((time - seconds).count())};
  return sigtimedwait(&stop, nullptr, &timeout) > 0;
}

void run(sim::plant& plant, sim::service_host& services, double speed, const sigset_t& stop) {
  using clock = std::chrono::steady_clock;
  const std::chrono::nanoseconds plant_tick(
      static_cast<long long>(static_cast<double>(std::chrono::nanoseconds(tick).count()) * speed));
  auto next = clock::now() + tick;
  while (!wait_for_signal(stop, std::max(clock::duration(0), next - clock::now()))) {
    if (clock::now() < next) continue;
    plant.step(plant_tick);
    services.work();
    next += tick;
    // A machine that was suspended does not catch up in one burst.
    if (clock::now() - next > std::chrono::seconds(1)) next = clock::now();
  }
}

}  // namespace

int main(int argc, char** argv) {
  options chosen;
  if (const auto code = read_options(argc, argv, chosen)) return *code;
  try {
    sim::plant plant(chosen_topology(chosen));
    if (chosen.print_board) {
      std::fputs(plant.board_file().c_str(), stdout);
      return 0;
    }
    if (chosen.board) write_boards(plant, chosen);
    const sigset_t stop = block_stop_signals();
    const auto stores = follow_stores(plant, chosen);
    plant.step(tick);  // the first client must find light, and its truth values
    sim::service_host services(plant, chosen.far_prefix, chosen.peer_interface);
    for (const std::string& latency : chosen.latencies)
      set_latency(plant, latency);
    services.work();
    std::printf("ready: %zu nexels below %s\n", services.count(),
                nx::rooted_path("/tmp/nexels").c_str());
    std::fflush(stdout);
    run(plant, services, chosen.speed, stop);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "lumora_sim: %s\n", error.what());
    return 1;
  }
}
