#include "bench/gateway_figures.h"

#include <chrono>
#include <thread>

#include "bench/child.h"
#include "bench/late_node.h"
#include "bench/page_clients.h"
#include "tests/support/process.h"

namespace bench {
namespace {

using clock = std::chrono::steady_clock;

constexpr unsigned channels = 96;
constexpr unsigned pages = 20;
constexpr std::chrono::seconds watched{20};
constexpr std::chrono::seconds disturbed_every{2};
constexpr double percent = 100;

/// The patterns of the page's event stream, gateway/page/main.js.
constexpr const char* of_page =
    "path=insight/summary&path=insight/log&path=insight/line/*&path=insight/ladder/*"
    "&path=insight/device/booster/enabled&path=insight/client/*/*/state"
    "&path=insight/client/*/*/measured&path=insight/client/*/*/target"
    "&path=insight/client/*/*/deadBand&path=insight/client/*/*/headroomUp"
    "&path=insight/client/*/*/headroomDown&path=data/client/*/*/attenuation"
    "&path=data/client/*/*/peak&path=data/channel/index&path=data/line/1/*&path=alarms/**";

/// What it asks for of the channel that it shows, and how often, gateway/page/channel.js.
constexpr const char* of_channel =
    "path=insight/client/19310000/rx/*&path=data/client/19310000/rx/*"
    "&path=config/client/19310000/rx/*";
constexpr std::chrono::seconds pace{4};

class gateway {
 public:
  explicit gateway(const std::string& root)
      : process_({{LUMORA_BIN_DIR "/lumora_gateway", "--listen", "127.0.0.1:0"},
                  {{"NX_ROOT", root}},
                  {}}) {
    require(process_.wait_for("Serving http://127.0.0.1:"), "the gateway does not start");
    const auto said = process_.output();
    port_ = static_cast<unsigned>(std::stoul(said.substr(said.find("127.0.0.1:") + 10)));
  }
  pid_t pid() const { return process_.pid(); }
  unsigned port() const { return port_; }

 private:
  test::process process_;
  unsigned port_ = 0;
};

/// Share of a core that a process takes while `meanwhile` runs.
template <class Meanwhile>
double share_of_core(pid_t pid, Meanwhile meanwhile) {
  const auto begin = clock::now();
  const seconds before = cpu_time(pid);
  meanwhile();
  return (seconds(cpu_time(pid)) - before) / (clock::now() - begin);
}

}  // namespace

bool measure_gateway() {
  late_node node("selkaplus");
  node.start();
  node.add_channels(channels);
  std::this_thread::sleep_for(std::chrono::seconds(30));  // until its switches rest
  const auto daemon = node.processes().daemon().pid();
  const auto alone = share_of_core(daemon, [] { std::this_thread::sleep_for(watched); });
  const gateway served(node.processes().root().path());
  page_clients clients(pages, served.port(), of_page, of_channel, pace);
  std::this_thread::sleep_for(std::chrono::seconds(5));  // until all have the present values
  const auto of_daemon = share_of_core(daemon, [] { std::this_thread::sleep_for(watched); });
  clients.begin();
  const auto of_gateway = share_of_core(served.pid(), [&] {
    for (auto passed = std::chrono::seconds(0); passed < watched; passed += disturbed_every) {
      node.disturb(passed / disturbed_every % 2 == 0 ? 1.0 : -1.0);
      std::this_thread::sleep_for(disturbed_every);
    }
  });
  const auto seen = clients.end();
  require(seen.events > pages * channels, "the pages are told too little");
  const seconds latest = seen.latest;
  bool reached = report("20 pages, 96 channels both ways: from a change to all of them",
                        latest.count(), 1, "s");
  reached = report("the same: CPU of the gateway", percent * of_gateway, 5, "%") && reached;
  reached =
      report("the same: resident memory of the gateway", resident_mib(served.pid()), 64, "MiB") &&
      reached;
  return report("the same: CPU of the daemon at rest, beside that without them",
                percent * (of_daemon - alone), 0.3, "%") &&
         reached;
}

}  // namespace bench
