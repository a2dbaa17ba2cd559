#include "tools/lab/node.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/lab/installation.h"
#include "tools/lab/lab_failure.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

namespace {

constexpr std::chrono::seconds start_limit{30};

constexpr const char* daemon_socket = "/tmp/device_managers/lumora";
constexpr const char* plant_socket = "/tmp/nexels/sim";
// No interface has this name: a lab alone opens no network port.
constexpr const char* no_interface = "lumora-lab";

// Of models whose channels are added by command: the port, and the width when there is but one.
constexpr unsigned client_port = 2;
constexpr unsigned widest = 10000;

std::string laser_path(unsigned key) {
  return fmt::format("config/node/0/laser/{}/on", key);
}

/// What the view shows of the daemon's tree.
constexpr const char* daemon_patterns[] = {
    "data/client/*/rx/*", "data/client/*/rx/ocm/power", "data/client/rx/*", "data/line/1/*",
    "data/line/1/*/*",    "data/spanloss/*/*",          "data/system/*",    "data/automationMode"};

}  // namespace

node::node(supervisor& programs, const lab_folder& folder, const store& keys,
           const node_options& what)
    : root_(folder.root_of("node").string()),
      daemon_log_((folder.logs() / "daemon.log").string()),
      daemon_(socket(daemon_socket)),
      plant_(socket(plant_socket)),
      booster_(socket("/tmp/nexels/booster")),
      preamp_(socket("/tmp/nexels/preamp")),
      voa_(socket("/tmp/nexels/voa_sfp")) {
  start_devices(programs, folder, keys, what);
  start_daemon(programs, keys, what);
}

void node::start_devices(supervisor& programs, const lab_folder& folder, const store& keys,
                         const node_options& what) {
  // The twin switch takes its attenuations from the store.
  auto environment = keys.environment();
  environment.push_back("NX_ROOT=" + root_);
  programs.start({"lumora_sim",
                  {program_path("lumora_sim").string(), what.topology.string(), "--seed",
                   std::to_string(what.seed), "--board"},
                  environment,
                  (folder.logs() / "plant.log").string()});
  programs.wait_until("the simulated devices", start_limit,
                      [this] { return plant_.reachable() && booster_.reachable(); });
  darken();
}

void node::start_daemon(supervisor& programs, const store& keys, const node_options& what) {
  auto environment = keys.environment();
  environment.push_back("NX_ROOT=" + root_);
  programs.start({"lumora_manager",
                  {program_path("lumora_manager").string(), "--product", what.model.name,
                   "--interface_name", no_interface},
                  environment,
                  daemon_log_});
  programs.wait_until("the daemon's tree", start_limit, [this] { return daemon_.reachable(); });
}

/// Light comes when the daemon is there to see it; until then the lasers that the topology lights
/// are only remembered.
void node::darken() {
  readings read;
  plant_.read("config/node/0/laser/*/on", read);
  for (const auto key : read.numbered("config/node/0/laser/", "/on")) {
    if (read.flag(laser_path(key)) == true) lasers_.push_back(key);
  }
  plant_.write("command/node/0/darkBand", "true");
}

void node::write_daemon(const std::string& path, const std::string& value) {
  if (daemon_.write(path, value)) return;
  throw lab_failure(
      fmt::format("the daemon refuses {} for {}: {}", value, path, daemon_.refusal()));
}

void node::add_channels() {
  readings read;
  daemon_.read("data/channel/index", read);
  if (read.text("data/channel/index") != "[]") return;
  unsigned width = widest;
  for (std::size_t at = 1; at < lasers_.size(); ++at) {
    width = std::min(width, lasers_[at] - lasers_[at - 1]);
  }
  for (const auto key : lasers_) {
    write_daemon("command/channel/add",
                 fmt::format(R"({{"center":{},"width":{},"port":{}}})", key, width, client_port));
    for (const char* side : {"rx", "tx"}) {
      write_daemon(fmt::format("config/client/{}/{}/opticalControlMode", key, side), "\"power\"");
    }
  }
}

void node::configure(supervisor& programs) {
  // The parameter is there once the daemon has built everything else.
  const std::string ready = "config/redisConfigStatus";
  programs.wait_until("the daemon to be ready for its configuration", start_limit,
                      [&] { return daemon_.knows(ready); });
  add_channels();
  write_daemon("debug/loglevel", "\"verbose\"");
  write_daemon(ready, "true");
}

unsigned node::light_up() {
  for (const auto key : lasers_) {
    if (plant_.write(laser_path(key), "true")) continue;
    throw lab_failure(fmt::format("the plant refuses to light {}: {}", key, plant_.refusal()));
  }
  return static_cast<unsigned>(lasers_.size());
}

readings node::look() {
  readings read;
  for (const char* pattern : daemon_patterns)
    daemon_.read(pattern, read);
  booster_.read("data/*", read, booster_prefix);
  preamp_.read("data/*", read, preamp_prefix);
  voa_.read("data/*", read, voa_prefix);
  plant_.read(truth_path("*"), read);
  return read;
}

}  // namespace tools::lab
