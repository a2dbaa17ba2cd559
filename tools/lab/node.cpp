#include "tools/lab/node.h"

#include <fmt/format.h>

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
  start_devices(programs, folder, what);
  start_daemon(programs, keys, what);
}

void node::start_devices(supervisor& programs, const lab_folder& folder, const node_options& what) {
  programs.start({"lumora_sim",
                  {program_path("lumora_sim").string(), what.topology.string(), "--seed",
                   std::to_string(what.seed)},
                  {"NX_ROOT=" + root_},
                  (folder.logs() / "plant.log").string()});
  programs.wait_until("the simulated devices", start_limit,
                      [this] { return plant_.reachable() && booster_.reachable(); });
}

void node::start_daemon(supervisor& programs, const store& keys, const node_options& what) {
  const auto board = std::filesystem::path(root_) / "mnt/board_info/calibration_data/lumora";
  std::filesystem::create_directories(board);
  std::filesystem::copy_file(simulator_file("boards/" + what.model.name + ".conf"),
                             board / "lumora.conf");
  auto environment = keys.environment();
  environment.push_back("NX_ROOT=" + root_);
  programs.start({"lumora_manager",
                  {program_path("lumora_manager").string(), "--product", what.model.name,
                   "--interface_name", no_interface},
                  environment,
                  daemon_log_});
  programs.wait_until("the daemon's tree", start_limit, [this] { return daemon_.reachable(); });
}

void node::complete_configuration(supervisor& programs) {
  // The parameter is there once the daemon has built everything else.
  programs.wait_until("the daemon to be ready for its configuration", start_limit,
                      [this] { return daemon_.write("config/redisConfigStatus", "true"); });
  daemon_.write("debug/loglevel", "\"verbose\"");
}

unsigned node::light_up(supervisor& programs) {
  programs.wait_until("the lasers", start_limit,
                      [this] { return plant_.write("command/fillBand", "{}"); });
  readings lasers;
  plant_.read("node/0/laser/*/on", lasers);
  return static_cast<unsigned>(lasers.numbered("node/0/laser/", "/on").size());
}

readings node::look() {
  readings read;
  for (const char* pattern : daemon_patterns)
    daemon_.read(pattern, read);
  booster_.read("data/*", read, booster_prefix);
  preamp_.read("data/*", read, preamp_prefix);
  voa_.read("data/*", read, voa_prefix);
  plant_.read("truth/**", read, truth_prefix);
  return read;
}

}  // namespace tools::lab
