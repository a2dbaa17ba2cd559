#include "bench/late_figures.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "bench/late_node.h"

namespace bench {
namespace {

using std::chrono::milliseconds;

constexpr const char* full_band = "orvamax";
constexpr milliseconds slow{20};
constexpr milliseconds brisk{5};

bool report_period(const late_node& node, milliseconds latency, const std::string& which) {
  const double goal = latency == slow ? 0.62 : 0.55;
  const auto figure = fmt::format("period of a cycle, {} ms late: {}", latency.count(), which);
  return report(figure, node.period().count(), goal, "s");
}

bool report_both_periods(const late_node& node, const std::string& which) {
  node.delay_devices(slow);
  bool reached = report_period(node, slow, which);
  node.delay_devices(brisk);
  reached = report_period(node, brisk, which) && reached;
  return reached;
}

// The loops take turns, so that cycles differ.
bool report_requests(const late_node& node) {
  constexpr int looks = 12;
  constexpr milliseconds pause{300};
  late_node::cycle most;
  for (int look = 0; look < looks; ++look) {
    std::this_thread::sleep_for(pause);
    const auto last = node.last_cycle();
    most.requests = std::max(most.requests, last.requests);
    most.waits = std::max(most.waits, last.waits);
  }
  const bool few = report("requests of a cycle, at most", most.requests, 60, "");
  return report("waits of a cycle, at most", most.waits, 3, "") && few;
}

bool measure_full_band() {
  late_node node(full_band);
  node.delay_devices(slow);
  bool reached = report("start to first cycle, 20 ms late, without prescribed waits",
                        node.start().count(), 1.5, "s");
  node.await_on_target();
  reached = report_both_periods(node, "40 channels of an orvamax") && reached;
  return report_requests(node) && reached;
}

bool measure_slow_peer() {
  late_node node(full_band, "orva-lite");
  node.delay_peer(milliseconds(300));
  node.start();
  const auto begin = std::chrono::steady_clock::now();
  node.await_on_target();
  const seconds took = std::chrono::steady_clock::now() - begin;
  bool reached = report("own channels on target with a peer 0.3 s late", took.count(), 10, "s");
  node.delay_peer(slow);
  node.delay_devices(slow);
  return report_period(node, slow, "an orvamax and its peer") && reached;
}

bool measure_growth() {
  constexpr unsigned few = 24;
  constexpr unsigned many = 96;
  late_node node("selkaplus");
  node.delay_devices(brisk);
  node.start();
  node.add_channels(few);
  std::this_thread::sleep_for(std::chrono::seconds(20));  // until its switches rest
  const auto of_few = node.cpu_of_cycle();
  node.add_channels(many - few);
  std::this_thread::sleep_for(std::chrono::seconds(20));
  const auto ratio = node.cpu_of_cycle() / of_few;
  const bool linear = report("CPU of a cycle, 96 channels to 24 of a selkaplus", ratio, 4.4, "");
  return report_both_periods(node, "96 channels of a selkaplus") && linear;
}

bool measure_adds() {
  late_node node("selkaplus");
  node.delay_devices(brisk);
  node.start();
  return report("96 adds in a row, 5 ms late", node.add_channels(96).count(), 3, "s");
}

}  // namespace

bool measure_late_nodes(const std::string& only) {
  if (only == "adds") return measure_adds();
  bool reached = measure_full_band();
  reached = measure_slow_peer() && reached;
  reached = measure_growth() && reached;
  return measure_adds() && reached;
}

}  // namespace bench
