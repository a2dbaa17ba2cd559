#include "bench/daemon_figures.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "bench/child.h"
#include "bench/report.h"
#include "platform/nexel_client/line_client.h"

namespace bench {
namespace {

using clock = std::chrono::steady_clock;
using seconds = std::chrono::duration<double>;

// A fixed plan of 40 channels, all lit.
constexpr const char* product = "orvamax";
constexpr std::chrono::seconds prescribed_wait{1};  // between configuration and first cycle
constexpr std::chrono::seconds rest{20};
constexpr std::chrono::seconds listening{5};
constexpr unsigned subscribers = 64;

std::string first_line(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

// The scheduler tells a thread's processor time first, in nanoseconds.
seconds cpu_of_thread(pid_t pid, const std::string& name) {
  for (const auto& task : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", pid))) {
    if (first_line(task.path() / "comm") != name) continue;
    return std::chrono::nanoseconds(std::stoll(first_line(task.path() / "schedstat")));
  }
  throw std::runtime_error("no thread " + name);
}

double resident_mib(pid_t pid) {
  std::ifstream status(fmt::format("/proc/{}/status", pid));
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stod(line.substr(6)) / 1024.0;
  }
  throw std::runtime_error("no memory is told");
}

void require(bool reached, const char* what) {
  if (!reached) throw std::runtime_error(what);
}

bool report(const char* figure, double found, double goal, const char* unit) {
  print_line(figure, fmt::format("{:.2f} {}", found, unit), fmt::format("<= {} {}", goal, unit),
             found <= goal, "");
  return found <= goal;
}

}  // namespace

bool daemon_figures::measure() {
  node_.start_store();
  node_.start_devices(product);
  bool reached = measure_start();
  reached = measure_rest() && reached;
  return measure_memory() && reached;
}

bool daemon_figures::measure_start() {
  const auto begin = clock::now();
  auto& daemon = node_.start_daemon({"--product", product});
  require(daemon.wait_for("Manager starting up."), "the daemon does not start");
  require(node_.await_configuration(), "the daemon is not built");
  const seconds built = clock::now() - begin;
  node_.write("debug/loglevel", "\"verbose\"");
  node_.write("config/redisConfigStatus", "true");
  require(daemon.wait_for("Redis configuration received, proceeding."), "no configuration");
  const auto configured = clock::now();
  require(daemon.wait_for("Manager operational, regulating: "), "no cycle");
  const seconds first_cycle = clock::now() - configured - prescribed_wait;
  node_.write("debug/loglevel", "\"normal\"");
  return report("start to first regulating cycle, without prescribed waits",
                (built + first_cycle).count(), 1, "s");
}

bool daemon_figures::measure_rest() {
  constexpr double percent = 100;
  require(test::eventually([&] { return plant_.off_target(0.5).empty(); }), "not on target");
  const auto pid = node_.daemon().pid();
  const auto begin = clock::now();
  const seconds all = cpu_time(pid);
  const auto manager = cpu_of_thread(pid, "manager");
  std::this_thread::sleep_for(rest);
  const seconds passed = clock::now() - begin;
  const auto of_cycle = (cpu_of_thread(pid, "manager") - manager) / passed;
  const auto of_all = (seconds(cpu_time(pid)) - all) / passed;
  const bool cycle_reached =
      report("CPU of a cycle, to its pause of 0.5 s", percent * of_cycle, 1, "%");
  return report("CPU of the daemon at rest with a full band", percent * of_all, 2, "%") &&
         cycle_reached;
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
