// Each alert that ships is told in a story on the plant that deserves it, with nothing told beside
// it but what follows; a quiet hour tells none. The rules are evaluated by promtool itself over
// what the gateway would have answered to a collector.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <functional>

#include "tests/prometheus/alert_story.h"
#include "tests/prometheus/dashboard.h"
#include "tests/support/plant_node.h"
#include "tests/support/plant_pair.h"

namespace {

using namespace std::chrono_literals;
using test::alert_story;

constexpr unsigned channel = 19230000;
const std::vector<unsigned> few{19140000, 19170000, 19200000, channel, 19260000, 19290000};

using change = std::function<void(sim::topology&)>;

void light_all(sim::topology& topology) {
  for (auto& node : topology.nodes)
    node.lit.reset();
}

sim::topology few_lit(unsigned nodes, const change& further) {
  auto topology = sim::default_topology("orvalite", nodes);
  for (auto& node : topology.nodes)
    node.lit = few;
  if (further) further(topology);
  return topology;
}

/// A node that has come to rest, seen by a collector.
class watched_node {
 public:
  explicit watched_node(std::chrono::seconds interval = 15s, const change& further = {})
      : node(few_lit(1, further)), story(interval) {
    node.start();
    node.run_for(5min);
  }

  void watch(std::chrono::seconds time) {
    for (auto passed = 0s; passed < time; passed += story.interval()) {
      node.run_for(story.interval());
      story.scrape({{"near", &node.tree()}});
    }
  }
  void change_laser(const std::function<void(sim::laser_settings&)>& how) {
    node.plant().change_laser(0, channel, how);
  }

  test::plant_node node;
  alert_story story;
};

/// Two of them face to face.
class watched_pair {
 public:
  explicit watched_pair(const change& further = {}) : pair(few_lit(2, further)), story(15s) {
    pair.start();
    pair.run_for(5min);
  }

  void watch(std::chrono::seconds time) {
    for (auto passed = 0s; passed < time; passed += story.interval()) {
      pair.run_for(story.interval());
      story.scrape({{"near", near_runs_ ? &pair.tree(0) : nullptr}, {"far", &pair.tree(1)}});
    }
  }
  void watch_without_near(std::chrono::seconds time) {
    pair.stop_manager(0);
    near_runs_ = false;
    watch(time);
    pair.start_manager(0);
    near_runs_ = true;
  }

  test::plant_pair pair;
  alert_story story;

 private:
  bool near_runs_ = true;
};

TEST(alerts, none_in_a_quiet_hour_and_each_query_of_the_dashboard_has_its_series) {
  watched_pair it(light_all);
  it.watch(1h);
  const auto queries = test::dashboard_queries();
  EXPECT_GE(queries.size(), 20u);
  EXPECT_EQ(it.story.faults({}, queries), "");
}

TEST(alerts, tell_of_a_daemon_that_is_gone_and_of_no_restart) {
  watched_pair it;
  it.watch(2min);
  it.watch_without_near(30s);
  it.watch(10min);
  EXPECT_EQ(it.story.faults({}), "");
  it.watch_without_near(2min);
  it.watch(10min);
  EXPECT_EQ(it.story.faults({{R"({alertname="LumoraNodeLost"})", 1}}), "");
}

TEST(alerts, tell_of_a_loop_that_is_down_and_not_of_its_channels) {
  watched_node it;
  it.watch(2min);
  it.node.plant().set_nexel_state(0, "wss_edge", sim::nexel_state::killed);
  it.watch(10min);
  it.node.plant().set_nexel_state(0, "wss_edge", sim::nexel_state::ok);
  it.watch(10min);
  EXPECT_EQ(it.story.faults({{R"({alertname="LumoraLoopDown", loop="client rx"})", 1},
                             {R"({alertname="LumoraLoopDown", loop="client tx"})", 1}}),
            "");
}

TEST(alerts, tell_of_a_client_that_is_too_weak) {
  watched_node it;
  it.change_laser([](auto& laser) { laser.power_dbm -= 12; });
  it.watch(20min);
  EXPECT_EQ(it.story.faults({{R"({alertname="LumoraChannelOffTarget", direction="rx"})", 1},
                             {R"({alertname="LumoraHeadroomLow", direction="rx"})", 1}}),
            "");
}

TEST(alerts, tell_of_a_laser_that_ages) {
  watched_node it(5min);
  it.change_laser([](auto& laser) {
    laser.power_dbm -= 4.2;
    laser.drift_db_per_hour = -0.2;
  });
  it.watch(7h);
  EXPECT_EQ(it.story.faults({{R"({alertname="LumoraHeadroomFalling", direction="rx"})", 1}}), "");
}

TEST(alerts, tell_of_a_loop_that_hunts) {
  watched_node it(
      15s, [](sim::topology& topology) { topology.nodes[0].booster_monitor.noise_db = 0.3; });
  it.watch(20min);
  EXPECT_EQ(it.story.faults({{R"({alertname="LumoraHunting", loop="client rx"})", 1}}), "");
}

TEST(alerts, tell_of_a_guard_that_is_at_work_for_long) {
  watched_pair it;
  // The line has something to do, and its attenuator does not move. Both nodes share the register
  // of the guards here.
  it.pair.plant().set_span_offset(0, 3);
  it.pair.plant().set_write_fault(0, "voa_sfp", "**", sim::write_fault::lost());
  it.watch(25min);
  EXPECT_EQ(it.story.faults({{R"({alertname="LumoraGuardActive", guard="line-attenuator"})", 2}}),
            "");
}

TEST(alerts, tell_of_a_span_that_has_become_longer) {
  watched_pair it;
  it.watch(45min);
  it.pair.plant().set_span_offset(0, 2);
  it.watch(25min);
  const std::string drift = R"({alertname="LumoraSpanLossDrift", )";
  EXPECT_EQ(it.story.faults({{drift + R"(direction="rx", section="oms"})", 1},
                             {drift + R"(direction="rx", section="ots"})", 1},
                             {drift + R"(direction="tx", section="oms"})", 1},
                             {drift + R"(direction="tx", section="ots"})", 1}}),
            "")
      << "of one fibre: the near node tells tx, the far one rx";
}

TEST(alerts, tell_of_a_monitor_that_stands_still) {
  watched_node it;
  it.watch(5min);
  it.node.plant().set_monitor_stuck(0, sim::direction::rx, true);
  it.watch(5min);
  EXPECT_EQ(it.story.faults({{R"({alertname="LumoraReadingOld", direction="rx"})", 32}}), "");
}

}  // namespace
