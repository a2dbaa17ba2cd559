#include "bench/late_node.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <cstdio>
#include <thread>

#include "bench/daemon_start.h"
#include "platform/wire/json_parse.h"

namespace bench {
namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::seconds watched{10};
constexpr seconds day = std::chrono::days(1);

// "2026-01-31T12:00:00.123Z"
seconds time_of_day(const std::string& text) {
  unsigned hours = 0;
  unsigned minutes = 0;
  double rest = 0;
  const auto clock_text = text.substr(text.find('T') + 1);
  const bool read = std::sscanf(clock_text.c_str(), "%u:%u:%lf", &hours, &minutes, &rest) == 3;
  require(read, "a cycle without a time");
  return std::chrono::hours(hours) + std::chrono::minutes(minutes) + seconds(rest);
}

}  // namespace

late_node::late_node(std::string product, const std::string& peer) : product_(std::move(product)) {
  node_.start_store();
  node_.let_devices_follow_store();
  std::vector<std::string> arguments;
  if (!peer.empty()) arguments = {"--peer", peer, "--peer-interface", "lo"};
  node_.start_devices(product_, arguments);
}

seconds late_node::start() {
  return start_to_first_cycle(node_, product_);
}

void late_node::delay(const std::string& services, std::chrono::milliseconds latency) const {
  for (const auto& [path, present] : plant_.numbers("config/node/" + services + "/latency"))
    plant_.set(path, std::to_string(latency.count()));
}

void late_node::delay_devices(std::chrono::milliseconds latency) const {
  delay("0/nexel/*", latency);
}

void late_node::delay_peer(std::chrono::milliseconds latency) const {
  delay("1/nexel/peer", latency);
}

void late_node::await_on_target() const {
  constexpr double on_target_db = 0.5;
  const auto end = clock::now() + std::chrono::minutes(2);
  while (!plant_.off_target(on_target_db).empty()) {
    require(clock::now() < end, "not on target");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

seconds late_node::add_channels(unsigned count) {
  constexpr unsigned first_center = 19210000;
  constexpr unsigned width = 2500;
  const auto begin = clock::now();
  const auto end = channels_ + count;
  for (auto channel = channels_; channel < end; ++channel) {
    const auto request = fmt::format(R"({{"center":{},"width":{},"port":1}})",
                                     first_center + channel * width, width);
    const auto answer = node_.write("command/channel/add", request);
    require(answer == R"({"command/channel/add":true})", answer.c_str());
  }
  const seconds took = clock::now() - begin;
  for (; channels_ < end; ++channels_) {
    for (const char* side : {"rx", "tx"})
      node_.write(fmt::format("config/client/{}/{}/opticalControlMode",
                              first_center + channels_ * width, side),
                  "\"power\"");
  }
  return took;
}

late_node::cycle late_node::last_cycle() const {
  const auto text = node_.read("insight/cycle");
  nx::json_document told;
  nx::parse_json_into(told, text);
  require(told.IsObject(), text.c_str());
  return {told["number"].GetUint(), time_of_day(told["begin"].GetString()),
          told["requests"].GetUint(), told["waits"].GetUint()};
}

seconds late_node::period() const {
  const auto first = last_cycle();
  std::this_thread::sleep_for(watched);
  const auto last = last_cycle();
  auto passed = last.begin - first.begin;
  if (passed < seconds(0)) passed += day;
  require(last.number > first.number, "no cycles");
  return passed / (last.number - first.number);
}

seconds late_node::cpu_of_cycle() {
  const auto pid = node_.daemon().pid();
  const auto first = last_cycle();
  const auto before = use_of_thread(pid, "manager");
  std::this_thread::sleep_for(watched);
  const auto last = last_cycle();
  require(last.number > first.number, "no cycles");
  return (use_of_thread(pid, "manager").cpu - before.cpu) / (last.number - first.number);
}

void late_node::disturb(double db) const {
  for (const auto& channel : plant_.channels())
    plant_.disturb(channel, db);
}

}  // namespace bench
