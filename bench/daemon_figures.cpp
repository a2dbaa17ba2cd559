#include "bench/daemon_figures.h"

#include <fmt/format.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "bench/child.h"
#include "bench/daemon_start.h"
#include "bench/device_calls.h"
#include "bench/measure.h"
#include "bench/process_use.h"
#include "bench/socket_pair.h"
#include "platform/nexel_client/line_client.h"
#include "tests/system/storm.h"

namespace bench {
namespace {

using clock = std::chrono::steady_clock;

// A fixed plan of 40 channels, all lit.
constexpr const char* product = "orvamax";
constexpr std::chrono::seconds rest{20};
constexpr seconds cycle_pause{0.5};
constexpr int bare_cycles = 10;
constexpr double percent = 100;
constexpr std::chrono::seconds listening{5};
constexpr unsigned subscribers = 64;
constexpr unsigned watchers = 4;
constexpr unsigned rounds_watched = 7;
constexpr std::chrono::seconds watching{6};
constexpr std::chrono::seconds settling{1};
constexpr unsigned subscriptions = 200;
constexpr std::chrono::seconds raging{5};
constexpr unsigned stormers = 8;

// A client that does nothing but take what comes: parsing would cost it more than all of that costs
// the daemon, which would then wait, and begin each time with cold caches.
void take_everything(const std::string& path) {
  const socket client = connect_to(path);
  const std::string asked =
      R"({"jsonrpc":"2.0","id":1,"method":"subscribe","params":{"path":"**"}})"
      "\n"
      R"({"jsonrpc":"2.0","id":2,"method":"get","params":{"path":"data/product"}})"
      "\n";
  client.send(asked.data(), asked.size());
  constexpr std::string_view last_answer = R"("id":2)";
  std::string end;  // of what has come
  std::array<char, std::size_t{64} * 1024> chunk;
  while (end.find(last_answer) == end.npos) {
    if (end.size() > chunk.size()) end.erase(0, end.size() - last_answer.size());
    end.append(chunk.data(), client.receive_some(chunk.data(), chunk.size()));
  }
}

// Clients that look on, and take what the node tells them.
class onlookers {
 public:
  explicit onlookers(const std::string& path) {
    while (clients_.size() < watchers) {
      clients_.push_back(nx::line_client::connect_unix(path));
      clients_.back()->call("subscribe", R"({"path":"insight/**"})");
    }
  }

  /// Returns after a while; the number of events to each.
  double hear() {
    unsigned events = 0;
    for (const auto& client : clients_)
      while (client->next_event(std::chrono::milliseconds(50)))
        ++events;
    return static_cast<double>(events) / watchers;
  }

 private:
  std::vector<std::unique_ptr<nx::line_client>> clients_;
};

}  // namespace

bool daemon_figures::measure() {
  node_.start_store();
  node_.start_devices(product);
  bool reached = measure_start();
  reached = measure_rest() && reached;
  reached = measure_watched() && reached;
  reached = measure_subscribing() && reached;
  reached = measure_storms() && reached;
  return measure_memory() && reached;
}

bool daemon_figures::measure_start() {
  return report("start to first regulating cycle, without prescribed waits",
                start_to_first_cycle(node_, product).count(), 1, "s");
}

daemon_figures::load daemon_figures::load_during(std::chrono::seconds time,
                                                 const std::function<void()>& meanwhile) {
  const auto pid = node_.daemon().pid();
  const auto begin = clock::now();
  const seconds all = cpu_time(pid);
  const auto before = use_of_thread(pid, "manager");
  while (clock::now() - begin < time)
    meanwhile();
  const seconds passed = clock::now() - begin;
  const auto after = use_of_thread(pid, "manager");
  return {.cycle = (after.cpu - before.cpu) / passed,
          .all = (seconds(cpu_time(pid)) - all) / passed,
          .waits = (after.waits - before.waits) * (cycle_pause / passed)};
}

bool daemon_figures::measure_rest() {
  require(test::eventually([&] { return plant_.off_target(0.5).empty(); }), "not on target");
  const auto found = load_during(rest, [] { std::this_thread::sleep_for(rest); });
  const auto of_answers = bare_exchanges(found.waits);
  const auto figure = fmt::format(
      "CPU of a cycle to its pause, without {:.2f} % for device answers", percent * of_answers);
  const bool cycle_reached = report(figure, percent * (found.cycle - of_answers), 0.4, "%");
  return report("CPU of the daemon at rest with a full band", percent * found.all, 1, "%") &&
         cycle_reached;
}

/// People who look on cost little, and a node at rest has little to tell them. What is compared is
/// so small that the machine's own unrest shows in it: hence rounds.
bool daemon_figures::measure_watched() {
  std::vector<double> of_cycle;
  std::vector<double> of_all;
  double events = 0;
  while (of_cycle.size() < rounds_watched) {
    const auto alone = load_during(watching, [] { std::this_thread::sleep_for(watching); });
    onlookers clients(node_.daemon_socket());
    for (const auto end = clock::now() + settling; clock::now() < end;)
      clients.hear();
    const auto watched = load_during(watching, [&] { events += clients.hear(); });
    of_cycle.push_back(watched.cycle / alone.cycle);
    of_all.push_back(watched.all / alone.all);
  }
  const bool is_quiet = report("events of insight/** at rest, to each who watches",
                               events / seconds(watching * rounds_watched).count(), 5, "/s");
  const bool cycle_reached =
      report("CPU of a cycle, 4 clients watching insight/** to none", median(of_cycle), 1.1, "");
  return report("CPU of the daemon, 4 clients watching insight/** to none", median(of_all), 1.25,
                "") &&
         cycle_reached && is_quiet;
}

/// The cost of waiting for this many answers per cycle: for a thread that does nothing else, at the
/// same pace.
double daemon_figures::bare_exchanges(double a_cycle) {
  const auto begin = clock::now();
  const auto before = use_of_thread(::getpid(), own_name());
  for (int cycle = 0; cycle < bare_cycles; ++cycle) {
    for (int exchange = 0; exchange < a_cycle; ++exchange)
      bare_.get();
    std::this_thread::sleep_for(cycle_pause);
  }
  return (use_of_thread(::getpid(), own_name()).cpu - before.cpu) / (clock::now() - begin);
}

/// A loop of clients that subscribe to everything, take it all and go.
bool daemon_figures::measure_subscribing() {
  const auto pid = node_.daemon().pid();
  const auto work = [&] { return cpu_of_threads(pid, "nx_heavy"); };
  const auto sending = [&] { return cpu_of_threads(pid, "nx_io"); };
  const auto subscribe = [path = node_.daemon_socket()] { take_everything(path); };
  subscribe();
  const auto work_before = work();
  const auto sending_before = sending();
  for (unsigned i = 0; i < subscriptions; ++i)
    subscribe();
  const auto in_ms = [](seconds sum) { return 1000 * sum.count() / subscriptions; };
  const auto figure =
      fmt::format("CPU of a subscription to everything and its end, without {:.2f} ms for sending",
                  in_ms(sending() - sending_before));
  return report(figure, in_ms(work() - work_before), 1, "ms");
}

bool daemon_figures::measure_storms() {
  const auto socket = node_.daemon_socket();
  const auto booster = node_.root().file("tmp/nexels/booster");
  const double ratio = disturbed_device_calls(booster, node_.root().path());
  const bool calls_reached =
      report("device call, p99, 8 clients pipelining info ** to none", ratio, 1.5, "");
  node_.write("debug/loglevel", "\"verbose\"");
  const auto calm = test::watch(node_.daemon(), socket, raging);
  double longest = 0;
  for (const auto attack :
       {test::connect_subscribe_close, test::get_everything, test::pipeline_info}) {
    const test::storm storm(stormers, [&] { attack(socket); });
    longest = std::max(longest, test::watch(node_.daemon(), socket, raging).longest_gap_s);
  }
  node_.write("debug/loglevel", "\"normal\"");
  return report("longest delay of a cycle in storms of 8 clients", longest - calm.longest_gap_s,
                0.2, "s") &&
         calls_reached;
}

bool daemon_figures::measure_memory() {
  std::vector<std::unique_ptr<nx::line_client>> clients;
  while (clients.size() < subscribers) {
    clients.push_back(nx::line_client::connect_unix(node_.daemon_socket()));
    clients.back()->call("subscribe", R"({"path":"**"})");
  }
  const auto end = clock::now() + listening;
  while (clock::now() < end) {
    for (const auto& client : clients)
      while (client->next_event(std::chrono::milliseconds(1))) {
      }
  }
  return report("resident memory with a full band and 64 subscribers",
                resident_mib(node_.daemon().pid()), 32, "MiB");
}

}  // namespace bench
