// A soak in real time: two daemons face to face, their store and their devices, 200 clients that
// come and go, and something killed, hung, restarted or unplugged again and again. Prints what
// happened; exit code 1 if a node does not recover by itself. Run by tests/soak MINUTES.
#include <fmt/format.h>
#include <rapidjson/document.h>
#include <signal.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"
#include "tests/support/process_figures.h"
#include "tests/system/daemon_pair.h"
#include "tests/system/storm.h"

namespace {

using namespace std::chrono_literals;
using clock_type = std::chrono::steady_clock;

constexpr unsigned clients = 200;

/// Clients that connect, read, subscribe, and leave half-way.
class crowd {
 public:
  crowd(const std::string& socket, unsigned size)
      : storm_(size, [this, socket] { mingle(socket); }) {}

  unsigned answers() const { return answers_; }
  unsigned connections() const { return connections_; }

 private:
  void mingle(const std::string& socket) {
    thread_local std::minstd_rand random{std::random_device()()};
    std::this_thread::sleep_for(200ms);  // also between tries while the daemon is away
    const auto session = nx::line_client::connect_unix(socket);
    ++connections_;
    while (const unsigned choice = random() % 8) {
      std::this_thread::sleep_for(200ms);
      if (choice == 1) return session->send_raw(R"({"jsonrpc":"2.0","id":1,"method":"get",)");
      session->call(choice == 2 ? "subscribe" : "get", R"({"path":"data/client/*/rx/power"})");
      ++answers_;
    }
  }

  std::atomic<unsigned> answers_{0};
  std::atomic<unsigned> connections_{0};
  test::storm storm_;  // ends first
};

class soak {
 public:
  explicit soak(std::chrono::minutes length)
      : end_(clock_type::now() + length), pair_(test::supervisory_link::make()) {}

  int run() {
    pair_.bring_up();
    if (pair_.size() == 1)
      fmt::print("no network namespaces here: one daemon faces a simulated peer\n");
    for (unsigned node = 0; node < pair_.size(); ++node) {
      crowds_[node] = std::make_unique<crowd>(pair_.daemon_socket(node), clients / pair_.size());
    }
    tell("at rest", 0s);
    while (clock_type::now() < end_) {
      note_logs();
      const auto name = break_something();
      const auto start = clock_type::now();
      if (const auto failure = wait_for_both(); !failure.empty()) {
        fmt::print("{} after: {}\n{}\n", failure, name, pair_.off_target(test::rest_db));
        for (unsigned node = 0; node < pair_.size(); ++node)
          fmt::print("node {}:\n{}\n", node, pair_.daemon(node).last_lines());
        return 1;
      }
      ++recoveries_;
      tell(name, clock_type::now() - start);
      if (!is_within_its_limits()) {
        fmt::print("more memory or threads than the service may have, after: {}\n", name);
        return 1;
      }
    }
    fmt::print("{} recoveries, none without\n", recoveries_);
    return 0;
  }

 private:
  void note_logs() {
    peer_was_lost_ = false;
    for (unsigned node = 0; node < pair_.size(); ++node)
      log_begin_[node] = pair_.daemon(node).output().size();
  }

  /// What is not as it should be in the end: rest, whole cycles, and the line with its peer.
  std::string wait_for_both() {
    for (unsigned node = 0; node < pair_.size(); ++node) {
      auto& daemon = pair_.daemon(node);
      if (peer_was_lost_ && !pair_.await_line(node, log_begin_[node])) return "no line";
      if (!daemon.wait_for(test::operational_line, daemon.count(test::operational_line) + 2))
        return "not operational";
    }
    return pair_.await_rest() ? "" : "no rest";
  }

  /// Breaks one thing and mends it; recovering is up to the daemons.
  std::string break_something() {
    const unsigned node = any(pair_.size());
    switch (any(10)) {
      case 0:
        pair_.near().store().stop();
        pause();
        pair_.near().start_store();
        return "store killed";
      case 1:
        return kill_daemon(node);
      case 2:
        pair_.near().stop_devices();
        pause();
        pair_.start_devices();
        return "all devices restarted";
      case 3:
        return pair_.size() == 1 ? break_devices(1) : unplug_link();
      case 4:
        return pair_.size() == 1 ? break_devices(2) : hang_daemon(node);
      case 5:
      case 6:
        return break_devices(2);
      case 7:
        return let_clients_storm(node);
      default:
        return break_devices(1);
    }
  }

  std::string kill_daemon(unsigned node) {
    pair_.daemon(node).signal(SIGKILL);
    pair_.daemon(node).wait_for_exit();
    pair_.start_daemon(node);
    log_begin_[node] = 0;
    peer_was_lost_ = true;
    return fmt::format("daemon {} killed", node);
  }

  std::string hang_daemon(unsigned node) {
    pair_.daemon(node).signal(SIGSTOP);
    pause();
    pair_.daemon(node).signal(SIGCONT);
    return fmt::format("daemon {} stopped", node);
  }

  /// Greedy clients, one kind after the other.
  std::string let_clients_storm(unsigned node) {
    const auto socket = pair_.daemon_socket(node);
    for (const auto attack :
         {test::connect_subscribe_close, test::get_everything, test::pipeline_info}) {
      const test::storm raging(8, [&] { attack(socket); });
      pause();
    }
    return fmt::format("storms of clients at {}", node);
  }

  /// What the service of the package may take.
  bool is_within_its_limits() {
    constexpr double most_mib = 384;
    constexpr unsigned most_threads = 128;
    for (unsigned node = 0; node < pair_.size(); ++node) {
      const auto seen = test::figures_of(pair_.daemon(node).pid());
      if (seen.resident_mib > most_mib || seen.threads > most_threads) return false;
    }
    return true;
  }

  /// About once a second, for up to a minute.
  std::string unplug_link() {
    const unsigned times = 1 + any(60);
    for (unsigned i = 0; i < times; ++i) {
      pair_.link().unplug();
      std::this_thread::sleep_for(400ms);
      pair_.link().plug();
      std::this_thread::sleep_for(400ms);
    }
    peer_was_lost_ = true;
    return fmt::format("link unplugged {} times", times);
  }

  /// So many at once, on whichever nodes.
  std::string break_devices(unsigned count) {
    constexpr const char* devices[] = {"wss_edge", "booster", "preamp", "osc1", "voa_sfp", "sfp/0"};
    constexpr const char* states[] = {"killed", "hung"};
    const unsigned first = any(std::size(devices));
    std::string what;
    std::vector<std::pair<unsigned, std::string>> broken;
    for (unsigned i = 0; i < count; ++i) {
      const unsigned node = any(pair_.size());
      const std::string device = devices[(first + i) % std::size(devices)];
      const std::string state = states[any(std::size(states))];
      pair_.plant(node).set_device(device, state);
      broken.emplace_back(node, device);
      what += fmt::format("{}{} of {} {}", i == 0 ? "" : ", ", device, node, state);
    }
    pause();
    for (const auto& [node, device] : broken)
      pair_.plant(node).set_device(device, "ok");
    return what;
  }

  unsigned any(std::size_t count) { return static_cast<unsigned>(random_() % count); }
  void pause() { std::this_thread::sleep_for(std::chrono::seconds(1 + any(10))); }

  void tell(const std::string& what, clock_type::duration recovery) {
    fmt::print("{:42} back after {:5.1f} s", what, std::chrono::duration<double>(recovery).count());
    for (unsigned node = 0; node < pair_.size(); ++node) {
      auto& daemon = pair_.daemon(node);
      const auto seen = test::figures_of(daemon.pid());
      fmt::print(" | {} cycles, {:.1f} MiB, {} descriptors, {} threads, {} clients, {} answers",
                 daemon.count(test::operational_line) + daemon.count(test::not_operational_line),
                 seen.resident_mib, seen.descriptors, seen.threads, crowds_[node]->connections(),
                 crowds_[node]->answers());
    }
    fmt::print("\n");
    std::fflush(stdout);
  }

  clock_type::time_point end_;
  test::daemon_pair pair_;
  std::array<std::unique_ptr<crowd>, 2> crowds_;
  std::array<std::size_t, 2> log_begin_{};
  bool peer_was_lost_ = false;
  std::mt19937 random_{1};
  unsigned recoveries_ = 0;
};

}  // namespace

int main(int count, char** arguments) try {
  const int minutes = count == 2 ? std::atoi(arguments[1]) : 0;
  if (minutes < 1) {
    fmt::print(stderr, "usage: lumora_soak MINUTES\n");
    return 2;
  }
  return soak(std::chrono::minutes(minutes)).run();
} catch (const std::exception& error) {
  fmt::print(stderr, "{}\n", error.what());
  return 1;
} catch (const nx_client_exception& error) {
  fmt::print(stderr, "{} {} {}\n", error.code, error.message, error.path);
  return 1;
}
