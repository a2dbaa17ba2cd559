// A soak in real time: one daemon with its store and its devices, 200 clients that come and go, and
// something killed, hung or restarted again and again. Prints what it saw; exit code 1 when the
// node does not come back by itself. Run by tests/soak MINUTES.
#include <fmt/format.h>
#include <rapidjson/document.h>
#include <signal.h>

#include <atomic>
#include <cstdlib>
#include <random>
#include <thread>

#include "platform/nexel_client/line_client.h"
#include "platform/nexel_client/nx_client_exception.h"
#include "tests/support/process_figures.h"
#include "tests/system/regulating_node.h"

namespace {

using namespace std::chrono_literals;
using clock_type = std::chrono::steady_clock;

/// Clients that connect, read, subscribe, and leave in the middle of it.
class crowd {
 public:
  crowd(std::string socket, unsigned clients) : socket_(std::move(socket)) {
    constexpr unsigned threads = 4;
    for (unsigned i = 0; i < threads; ++i)
      threads_.emplace_back([this, i, clients] { mingle(i, clients / threads); });
  }
  ~crowd() { stop_ = true; }
  crowd(const crowd&) = delete;
  crowd& operator=(const crowd&) = delete;

  unsigned answers() const { return answers_; }
  unsigned connections() const { return connections_; }

 private:
  void mingle(unsigned seed, unsigned clients) {
    std::mt19937 random(seed);
    std::vector<std::unique_ptr<nx::line_client>> sessions(clients);
    while (!stop_) {
      auto& session = sessions[random() % clients];
      try {
        act(session, random() % 8);
      } catch (const nx_client_exception&) {
        session.reset();
      }
      std::this_thread::sleep_for(2ms);
    }
  }

  void act(std::unique_ptr<nx::line_client>& session, unsigned choice) {
    if (!session) {
      session = nx::line_client::connect_unix(socket_);
      ++connections_;
    } else if (choice == 0) {
      session.reset();
    } else if (choice == 1) {
      session->send_raw(R"({"jsonrpc":"2.0","id":1,"method":"get",)");
      session.reset();
    } else {
      session->call(choice == 2 ? "subscribe" : "get", R"({"path":"data/client/*/rx/power"})");
      ++answers_;
    }
  }

  std::string socket_;
  std::atomic<bool> stop_{false};
  std::atomic<unsigned> answers_{0};
  std::atomic<unsigned> connections_{0};
  std::vector<std::jthread> threads_;
};

class soak {
 public:
  explicit soak(std::chrono::minutes length) : end_(clock_type::now() + length) {}

  int run() {
    node_.bring_up();
    const crowd clients(node_.daemon_socket(), 200);
    tell("at rest", 0s, clients);
    while (clock_type::now() < end_) {
      const auto name = break_something();
      const auto start = clock_type::now();
      if (!node_.await_rest()) {
        fmt::print("no rest after: {}\n{}\n{}\n", name, node_.plant().off_target(0.5),
                   node_.daemon().last_lines());
        return 1;
      }
      ++recoveries_;
      tell(name, clock_type::now() - start, clients);
    }
    fmt::print("{} recoveries, none without\n", recoveries_);
    return 0;
  }

 private:
  /// Breaks one thing and mends it; the rest is the daemon's own affair.
  std::string break_something() {
    switch (random_() % 5) {
      case 0:
        node_.store().stop();
        pause();
        node_.start_store();
        return "store killed";
      case 1:
        node_.daemon().signal(SIGKILL);
        node_.daemon().wait_for_exit();
        node_.start_and_await();
        node_.release();
        return "daemon killed";
      case 2:
        node_.stop_devices();
        pause();
        node_.start_devices("orvalite");
        return "all devices restarted";
      default:
        return break_device();
    }
  }

  std::string break_device() {
    constexpr const char* devices[] = {"wss_edge", "booster", "preamp", "osc1", "voa_sfp", "sfp/0"};
    constexpr const char* states[] = {"killed", "hung"};
    const std::string device = devices[random_() % std::size(devices)];
    const std::string state = states[random_() % std::size(states)];
    node_.plant().set_device(device, state);
    pause();
    node_.plant().set_device(device, "ok");
    return device + ' ' + state;
  }

  void pause() { std::this_thread::sleep_for(std::chrono::seconds(1 + random_() % 10)); }

  void tell(const std::string& what, clock_type::duration recovery, const crowd& clients) {
    const auto seen = test::figures_of(node_.daemon().pid());
    const auto cycles = node_.daemon().count(test::operational_line) +
                        node_.daemon().count(test::not_operational_line);
    fmt::print(
        "{:24} at rest after {:5.1f} s | {} cycles, {:.1f} MiB, {} descriptors, {} threads | "
        "{} connections, {} answers\n",
        what, std::chrono::duration<double>(recovery).count(), cycles, seen.resident_mib,
        seen.descriptors, seen.threads, clients.connections(), clients.answers());
    std::fflush(stdout);
  }

  test::regulating_node node_;
  clock_type::time_point end_;
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
}
