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
  double rate_goal;    // at least; ratio to Redis
  double p99_goal;     // at most, ratio to the bare socket; 0 for none
};

constexpr std::array figures{
    figure{"get, one at a time", &contestant::get, 1, 0, 1.2, 1.5},
    figure{"32 gets in flight", &contestant::get_in_flight, in_flight, 0, 1.3, 0},
    figure{"300 gets in one batch", &contestant::get_batch, together, 0, 1.5, 0},
    figure{"300 values by one pattern", &contestant::get_by_pattern, together, 0, 3, 0},
    figure{"event to 1 subscriber", &contestant::event, 1, 1, 1.05, 0},
    figure{"event to 64 subscribers", &contestant::event, 64, 64, 1.2, 1.3},
    figure{"events to 64 subscribers under load", &contestant::event_burst, 64 * burst, 64, 1.5, 0},
    figure{"set to event", &contestant::set_and_hear, 1, 1, 1, 0},
    figure{"set to own event", &contestant::set_and_hear_oneself, 1, 1, 1, 0},
};

// Of one round after the other, each to what was measured in the same round.
struct ratios {
  std::vector<double> rate_to_limit;
  std::vector<double> rate_to_redis;
  std::vector<double> p99_to_limit;

  void add(const sample& found, const sample& redis, const sample& limit) {
    rate_to_limit.push_back(found.rate / limit.rate);
    rate_to_redis.push_back(found.rate / redis.rate);
    p99_to_limit.push_back(found.p99_us / limit.p99_us);
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

std::string both(const std::vector<double>& tree, const std::vector<double>& redis) {
  return fmt::format("{:.2f} / {:.2f}", median(tree), median(redis));
}

bool print(const figure& what, double rate, const ratios& tree, const ratios& redis) {
  const double found = median(tree.rate_to_redis);
  print_line(fmt::format("{} ({:.0f} k/s), to Redis", what.name, rate / 1000),
             fmt::format("{:.2f}", found), fmt::format(">= {}", what.rate_goal),
             found >= what.rate_goal, both(tree.rate_to_limit, redis.rate_to_limit));
  if (what.p99_goal == 0) return found >= what.rate_goal;
  const double p99 = median(tree.p99_to_limit);
  print_line(fmt::format("{}, p99, to the bare socket", what.name), fmt::format("{:.2f}", p99),
             fmt::format("<= {}", what.p99_goal), p99 <= what.p99_goal,
             both(tree.p99_to_limit, redis.p99_to_limit));
  return found >= what.rate_goal && p99 <= what.p99_goal;
}

bool compare(servers& all, const figure& what, unsigned rounds) {
  ratios tree;
  ratios redis;
  std::vector<double> rates;
  for (unsigned round = 0; round < rounds; ++round) {
    const auto limit = take(all.bare, what);
    const auto found = take(all.tree, what);
    const auto other = take(all.redis, what);
    tree.add(found, other, limit);
    redis.add(other, other, limit);
    rates.push_back(found.rate);
  }
  for (contestant* each : {static_cast<contestant*>(&all.bare), static_cast<contestant*>(&all.tree),
                           static_cast<contestant*>(&all.redis)})
    each->listen(0);
  return print(what, median(rates), tree, redis);
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
