#include "bench/socket_rounds.h"

#include <fmt/format.h>

#include <array>
#include <string_view>
#include <vector>

#include "bench/bare_socket.h"
#include "bench/measure.h"
#include "bench/redis_server.h"
#include "bench/report.h"
#include "bench/value_tree.h"

namespace bench {
namespace {

struct figure {
  const char* name;
  void (contestant::*operation)();
  unsigned parts;      // operations of one call
  unsigned listeners;  // 0 for gets
  double rate_goal;    // at least; ratio to the bare socket
  double p99_goal;     // at most; 0 for none
};

constexpr std::array figures{
    figure{"get, one at a time", &contestant::get, 1, 0, 0.62, 1.5},
    figure{"32 gets in flight", &contestant::get_in_flight, in_flight, 0, 0.15, 0},
    figure{"300 gets in one batch", &contestant::get_batch, together, 0, 0.04, 0},
    figure{"300 values by one pattern", &contestant::get_by_pattern, together, 0, 0.13, 0},
    figure{"event to 1 subscriber", &contestant::event, 1, 1, 0.47, 0},
    figure{"event to 64 subscribers", &contestant::event, 64, 64, 0.75, 1.3},
    figure{"events to 64 subscribers under load", &contestant::event_burst, 64 * burst, 64, 0.33,
           0},
};

struct ratios {
  std::vector<double> rate;
  std::vector<double> p99;

  void add(const sample& found, const sample& limit) {
    rate.push_back(found.rate / limit.rate);
    p99.push_back(found.p99_us / limit.p99_us);
  }
};

sample take(contestant& measured, const figure& what) {
  if (what.listeners > 0) measured.listen(what.listeners);
  return measure(measured.server(), what.parts, [&] { (measured.*what.operation)(); });
}

struct servers {
  explicit servers(const std::string& folder)
      : redis(folder), tree(folder, false), disturbed(folder, true) {}
  bare_socket bare;
  redis_server redis;
  value_tree tree;
  value_tree disturbed;
};

bool compare(servers& all, const figure& what, unsigned rounds) {
  ratios tree;
  ratios redis;
  std::vector<double> rates;
  for (unsigned round = 0; round < rounds; ++round) {
    const auto limit = take(all.bare, what);
    const auto found = take(all.tree, what);
    tree.add(found, limit);
    redis.add(take(all.redis, what), limit);
    rates.push_back(found.rate);
  }
  for (contestant* each : {static_cast<contestant*>(&all.bare), static_cast<contestant*>(&all.tree),
                           static_cast<contestant*>(&all.redis)})
    each->listen(0);
  const double rate = median(tree.rate);
  print_line(fmt::format("{} ({:.0f} k/s)", what.name, median(rates) / 1000),
             fmt::format("{:.3f}", rate), fmt::format(">= {}", what.rate_goal),
             rate >= what.rate_goal, fmt::format("{:.3f}", median(redis.rate)));
  if (what.p99_goal == 0) return rate >= what.rate_goal;
  const double p99 = median(tree.p99);
  print_line(fmt::format("{}, p99", what.name), fmt::format("{:.2f}", p99),
             fmt::format("<= {}", what.p99_goal), p99 <= what.p99_goal,
             fmt::format("{:.2f}", median(redis.p99)));
  return rate >= what.rate_goal && p99 <= what.p99_goal;
}

bool compare_disturbed(servers& all, const figure& what, unsigned rounds) {
  constexpr double goal = 1.2;
  std::vector<double> p99;
  for (unsigned round = 0; round < rounds; ++round) {
    all.disturbed.listen(what.listeners);  // the stuck subscriber too
    const auto quiet = take(all.tree, what);
    const auto found = take(all.disturbed, what);
    p99.push_back(found.p99_us / quiet.p99_us);
  }
  all.tree.listen(0);
  const double found = median(p99);
  print_line(fmt::format("{}, p99, disturbed to undisturbed", what.name),
             fmt::format("{:.2f}", found), fmt::format("<= {}", goal), found <= goal, "");
  return found <= goal;
}

}  // namespace

bool compare_servers(const std::string& folder, unsigned rounds, const std::string& only) {
  servers all(folder);
  bool reached = true;
  for (const auto& each : figures) {
    if (std::string_view(each.name).find(only) == std::string_view::npos) continue;
    reached = compare(all, each, rounds) && reached;
  }
  if (!only.empty()) return reached;
  const figure get{"get", &contestant::get, 1, 0, 0, 0};
  const figure event{"event to 16", &contestant::event, 16, 16, 0, 0};
  reached = compare_disturbed(all, get, rounds) && reached;
  return compare_disturbed(all, event, rounds) && reached;
}

}  // namespace bench
