#include "tests/system/storm.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <memory>
#include <sstream>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"
#include "tests/support/process_figures.h"

namespace test {

namespace {

using steady = std::chrono::steady_clock;

constexpr const char* all = R"({"path":"**"})";

std::string request(const char* method) {
  return fmt::format(R"({{"jsonrpc":"2.0","id":1,"method":"{}","params":{}}})", method, all) + '\n';
}

std::unique_ptr<nx::line_client> connect(const std::string& socket) {
  if (socket.starts_with('/')) return nx::line_client::connect_unix(socket);
  const auto space = socket.find(' ');
  return nx::line_client::connect_tcp(socket.substr(0, space),
                                      static_cast<unsigned>(std::stoul(socket.substr(space))));
}

/// Of a line of the log, "2026-01-31T12:00:00.123Z ...", within its day.
double seconds_of(const std::string& line) {
  constexpr std::size_t time_of_day = 11;
  int hours = 0;
  int minutes = 0;
  double seconds = 0;
  if (line.size() < time_of_day) return 0;
  std::sscanf(line.c_str() + time_of_day, "%d:%d:%lf", &hours, &minutes, &seconds);
  return hours * 3600 + minutes * 60 + seconds;
}

double longest_gap(const std::string& log) {
  constexpr const char* cycle = "Manager operational, regulating: ";
  double longest = 0;
  double last = 0;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(cycle) == line.npos) continue;
    const double now = seconds_of(line);
    if (last > 0) longest = std::max(longest, now - last);
    last = now;
  }
  return longest;
}

/// Looks how late it wakes, until it goes.
class lateness_probe {
 public:
  lateness_probe() : thread_([this](const std::stop_token& stop) { look(stop); }) {}
  double longest_ms() {
    thread_.request_stop();
    thread_.join();
    return longest_.count();
  }

 private:
  void look(const std::stop_token& stop) {
    constexpr std::chrono::milliseconds nap{2};
    while (!stop.stop_requested()) {
      const auto due = steady::now() + nap;
      std::this_thread::sleep_until(due);
      longest_ = std::max(longest_, std::chrono::duration<double, std::milli>(steady::now() - due));
    }
  }

  std::chrono::duration<double, std::milli> longest_{0};
  std::jthread thread_;
};

}  // namespace

storm::storm(unsigned threads, std::function<void()> attack) {
  for (unsigned i = 0; i < threads; ++i) {
    threads_.emplace_back([this, attack] {
      while (!stop_) {
        try {
          attack();
        } catch (const nx_client_exception&) {
          // Refused or closed: the next round begins anew.
        }
      }
    });
  }
}

storm::~storm() {
  stop_ = true;
}

void connect_subscribe_close(const std::string& socket) {
  connect(socket)->send_raw(request("subscribe"));
}

void get_everything(const std::string& socket) {
  const auto client = connect(socket);
  for (int i = 0; i < 5; ++i)
    client->call("get", all);
}

void pipeline_info(const std::string& socket) {
  constexpr int deep = 5;
  const auto client = connect(socket);
  for (int i = 0; i < deep; ++i)
    client->send_raw(request("info"));
  for (int i = 0; i < deep; ++i)
    client->read_line(patience);
}

figures watch(process& daemon, const std::string& socket, std::chrono::milliseconds time) {
  figures found;
  const auto before = daemon.output().size();
  const auto client = nx::line_client::connect_unix(socket);
  const auto end = steady::now() + time;
  lateness_probe probe;
  while (steady::now() < end) {
    const auto asked = steady::now();
    client->call("get", R"({"path":"data/configStatus"})", patience);
    const std::chrono::duration<double, std::milli> took = steady::now() - asked;
    found.slowest_get_ms = std::max(found.slowest_get_ms, took.count());
    const auto held = figures_of(daemon.pid());
    found.resident_mib = std::max(found.resident_mib, held.resident_mib);
    found.threads = std::max(found.threads, held.threads);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  found.lateness_ms = probe.longest_ms();
  found.longest_gap_s = longest_gap(daemon.output().substr(before));
  return found;
}

std::string text_of(const figures& found) {
  return fmt::format(
      "longest gap {:.2f} s, slowest get {:.1f} ms, {:.1f} MiB, {} threads, woken {:.1f} ms late",
      found.longest_gap_s, found.slowest_get_ms, found.resident_mib, found.threads,
      found.lateness_ms);
}

}  // namespace test
