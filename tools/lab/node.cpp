#include "tools/lab/node.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

#include "tools/lab/installation.h"
#include "tools/lab/lab_failure.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

namespace {

constexpr std::chrono::seconds start_limit{30};

// For models whose channels are added by command: the port, and the width if there is only one.
constexpr unsigned client_port = 2;
constexpr unsigned widest = 10000;

}  // namespace

node::node(supervisor& programs, const lab_folder& folder, const store& keys, plant_service& plant,
           node_options what)
    : what_(std::move(what)),
      plant_(plant),
      daemon_log_((folder.logs() / (what_.name + ".log")).string()),
      daemon_(what_.root + "/tmp/device_managers/lumora"),
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
  // The parameter exists once the daemon has built everything else.
  const std::string ready = "config/redisConfigStatus";
  programs.wait_until("the daemon to be ready for its configuration", start_limit,
                      [&] { return daemon_.knows(ready); });
  add_channels();
  write_daemon(ready, "true");
}

void node::read_events(const readings& read) {
  const auto newest = read.text("insight/log").value_or("");
  if (newest == newest_event_) return;
  newest_event_ = newest;
  events_.clear();
  for (const auto& text : daemon_.history("insight/log")) {
    if (auto told = insight::event_of(text)) events_.push_back(std::move(*told));
  }
}

view node::look() {
  readings read;
  bool answers = true;
  for (const char* pattern : insight::insight_patterns())
    answers = daemon_.read(pattern, read) && answers;
  daemon_.read("data/line/lmsStepSize", read);
  read_events(read);
  panel_.read("data/**", read, panel_prefix);
  plant_.read_truth(what_.number, read);
  const auto now = std::chrono::duration_cast<std::chrono::seconds>(
      std::chrono::system_clock::now().time_since_epoch());
  auto seen = make_view(read, events_, what_.number, now.count());
  seen.answers = answers || seen.node.tells_of_itself;
  return seen;
}

}  // namespace tools::lab
