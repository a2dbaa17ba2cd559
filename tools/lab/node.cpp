#include "tools/lab/node.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/lab/installation.h"
#include "tools/lab/lab_failure.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

namespace {

constexpr std::chrono::seconds start_limit{30};

// Of models whose channels are added by command: the port, and the width when there is but one.
constexpr unsigned client_port = 2;
constexpr unsigned widest = 10000;

/// What the view shows of the daemon's tree.
constexpr const char* daemon_patterns[] = {
    "data/client/*/rx/*", "data/client/*/rx/ocm/power", "data/client/rx/*", "data/line/1/*",
    "data/line/1/*/*",    "data/spanloss/*/*",          "data/system/*",    "data/automationMode",
    "data/line/lms*"};

}  // namespace

node::node(supervisor& programs, const lab_folder& folder, const store& keys, plant_service& plant,
           node_options what)
    : what_(std::move(what)),
      plant_(plant),
      daemon_log_((folder.logs() / (what_.name + ".log")).string()),
      daemon_(what_.root + "/tmp/device_managers/lumora"),
      booster_(what_.root + "/tmp/nexels/booster"),
      preamp_(what_.root + "/tmp/nexels/preamp"),
      voa_(what_.root + "/tmp/nexels/voa_sfp"),
      panel_(what_.root + "/tmp/nexels/led_selka") {
  start_daemon(programs, keys);
}

void node::start_daemon(supervisor& programs, const store& keys) {
  auto environment = keys.environment(what_.number);
  environment.push_back("NX_ROOT=" + what_.root);
  auto command = what_.enter_with;
  command.insert(command.end(), {program_path("lumora_manager").string(), "--product",
                                 what_.product, "--interface_name", what_.interface});
  programs.start({"lumora_manager", command, environment, daemon_log_});
  programs.wait_until("the daemon's tree", start_limit, [this] { return daemon_.reachable(); });
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
  const auto& lasers = plant_.lasers(what_.number);
  unsigned width = widest;
  for (std::size_t at = 1; at < lasers.size(); ++at) {
    width = std::min(width, lasers[at] - lasers[at - 1]);
  }
  for (const auto key : lasers) {
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

readings node::look() {
  readings read;
  for (const char* pattern : daemon_patterns)
    daemon_.read(pattern, read);
  booster_.read("data/*", read, booster_prefix);
  preamp_.read("data/*", read, preamp_prefix);
  voa_.read("data/*", read, voa_prefix);
  panel_.read("data/**", read, panel_prefix);
  plant_.read_truth(read);
  return read;
}

}  // namespace tools::lab
