#include "tests/system/daemon_pair.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"

namespace test {

namespace {

constexpr const char* identified = "Remote channel subscription complete.";
constexpr const char* line_regulates = "calculate_lms_error(): lms error: ";

}  // namespace

daemon_pair::daemon_pair(std::unique_ptr<supervisory_link> link) : link_(std::move(link)) {}

std::string daemon_pair::root(unsigned node) const {
  return near_.root().path() + (node == 0 ? "" : "/far");
}

std::string daemon_pair::daemon_socket(unsigned node) const {
  return root(node) + "/tmp/device_managers/lumora";
}

void daemon_pair::bring_up() {
  near_.start_store();
  start_devices();
  for (unsigned node = 0; node < size(); ++node)
    start_daemon(node);
  for (unsigned node = 0; node < size(); ++node) {
    if (!await_line(node, 0)) throw std::runtime_error("no line: " + daemon(node).last_lines());
  }
  if (!await_rest()) throw std::runtime_error("not at rest: " + off_target(rest_db));
}

void daemon_pair::start_devices() {
  if (link_) return near_.start_devices("orvalite_pair");
  near_.start_devices("orvalite", {"--peer", "orva-lite", "--peer-interface", "lo"});
}

process::settings daemon_pair::settings_of(unsigned node) const {
  auto what = near_.daemon_settings();
  what.environment["NX_ROOT"] = root(node);
  if (!link_) return what;
  std::replace(what.command.begin(), what.command.end(), std::string("none0"),
               std::string(supervisory_link::interface));
  const auto enter = link_->enter(node);
  what.command.insert(what.command.begin(), enter.begin(), enter.end());
  return what;
}

void daemon_pair::start_daemon(unsigned node) {
  daemons_[node] = std::make_unique<process>(settings_of(node));
  if (!eventually([&] { return awaits_configuration(node); })) {
    throw std::runtime_error("not built: " + daemon(node).last_lines());
  }
  // Cycles show in the log from here on.
  write(node, "debug/loglevel", "\"verbose\"");
  write(node, "config/redisConfigStatus", "true");
}

void daemon_pair::write(unsigned node, const std::string& path, const std::string& value) const {
  const auto client = nx::line_client::connect_unix(daemon_socket(node));
  client->call("set", fmt::format(R"({{"path":"{}","value":{}}})", path, value));
}

bool daemon_pair::awaits_configuration(unsigned node) const {
  constexpr const char* path = "config/redisConfigStatus";
  try {
    const auto client = nx::line_client::connect_unix(daemon_socket(node));
    return client->call("get", fmt::format(R"({{"path":"{}"}})", path)).HasMember(path);
  } catch (const std::exception&) {
    return false;
  } catch (const nx_client_exception&) {
    return false;
  }
}

unsigned daemon_pair::cycles_until_regulation(unsigned node, std::size_t begin) {
  const auto log = daemon(node).output();
  const auto regulation = log.find(line_regulates, log.find(identified, begin));
  if (regulation == std::string::npos) return ~0U;
  const auto start = log.rfind(identified, regulation);
  unsigned cycles = 0;
  const std::string cycle = operational_line;
  for (auto at = log.find(cycle, start); at < regulation; at = log.find(cycle, at + 1))
    ++cycles;
  return cycles;
}

bool daemon_pair::await_line(unsigned node, std::size_t begin) {
  const auto regulates = [&] { return cycles_until_regulation(node, begin) != ~0U; };
  // Two nodes that meet ask each other for the same values, and may wait for one another for a
  // while.
  for (int round = 0; round < 4; ++round) {
    if (eventually(regulates)) return true;
  }
  return false;
}

bool daemon_pair::await_rest() {
  double writes = -1.0;
  const auto rests = [&] {
    const auto on_target = off_target(rest_db).empty();
    const double before = std::exchange(writes, switch_writes());
    const auto seen = daemon(0).count(operational_line);
    return daemon(0).wait_for(operational_line, seen + 8) && on_target && writes == before &&
           switch_writes() == before;
  };
  return eventually(rests) || eventually(rests);
}

std::string daemon_pair::off_target(double within_db) const {
  std::string found;
  for (unsigned node = 0; node < size(); ++node)
    found += plants_[node].off_target(within_db);
  return found;
}

double daemon_pair::switch_writes() const {
  double sum = 0.0;
  for (unsigned node = 0; node < size(); ++node)
    sum += plants_[node].switch_writes();
  return sum;
}

}  // namespace test
