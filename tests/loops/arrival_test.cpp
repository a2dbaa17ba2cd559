// The node's report on a channel's way to its target, compared with the plant's truth; and a node
// whose monitor is too noisy is reported to hunt, while a quiet one is not.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

#include "models/model.h"
#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"
#include "tests/support/recording_session.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

/// The fibre tap has no noise and the monitor just enough to report after each pass: the only
/// difference between plant and daemon is time.
sim::topology quiet_topology(const std::string& product) {
  auto topology = test::dark_topology(product);
  auto& node = topology.nodes[0];
  node.booster_monitor.noise_db = 0.02;
  node.booster_monitor.period_s = 0.5;
  node.tap_noise_db = 0.0;
  return topology;
}

std::string insight_path(unsigned channel, const char* name) {
  return fmt::format("insight/client/{}/rx/{}", channel, name);
}

class arrival : public testing::Test {
 protected:
  using way_of_error = std::vector<std::pair<double, double>>;  // s, dB

  void start(unsigned lit, const char* product = "orvamax") { start(lit, quiet_topology(product)); }

  void start(unsigned lit, const sim::topology& topology) {
    node_ = std::make_unique<plant_node>(topology);
    node_->start();
    node_->run_for(40s);
    for (unsigned i = 0; i < lit; ++i)
      add_lit(node_->channels()[i]);
    node_->run_for(3min);
  }

  void add_lit(unsigned channel) {
    if (node_->has_channels_by_command()) node_->add_channel(channel);
    node_->plant().change_laser(0, channel, [](sim::laser_settings& laser) {
      laser.on = true;
      laser.ramp_s = 0.0;
    });
    lit_.push_back(channel);
  }

  double error(unsigned channel) {
    return node_->true_error(channel) -
           node_->number(fmt::format("data/client/{}/rx/wantedPowerOffset", channel));
  }

  nx::json_document told(unsigned channel) {
    return test::value_of(node_->tree(), insight_path(channel, "arrival"));
  }

  static double told_move(const nx::json_document& way) {
    const auto& neighbour = way["neighbour"];
    return neighbour.IsNull() ? 0.0 : neighbour["moved"].GetDouble();
  }

  /// What the plant knows of the way of `channel` that `cause` sets it on.
  /// `other_writes` to the switch than steps come with the cause.
  void expect_told_as_it_was(unsigned channel, const char* cause_name,
                             const std::function<void()>& cause, unsigned other_writes = 0) {
    SCOPED_TRACE(cause_name);
    std::map<unsigned, double> before;
    for (const auto each : lit_)
      before[each] = error(each);
    const channel_watch watch(*node_);
    const auto begin = node_->now();
    way_of_error errors;
    double moved = 0.0;
    cause();
    while (node_->now() - begin < 40s) {
      node_->cycle();
      const std::chrono::duration<double> since = node_->now() - begin;
      errors.emplace_back(since.count(), error(channel));
      for (const auto& [each, was] : before)
        if (each != channel) moved = std::max(moved, std::fabs(error(each) - was));
    }
    const auto way = told(channel);
    EXPECT_STREQ(way["cause"].GetString(), cause_name);
    EXPECT_FALSE(way["underWay"].GetBool());
    EXPECT_EQ(way["steps"].GetUint() + other_writes, watch.steps(channel));
    EXPECT_NEAR(std::fabs(told_move(way)), moved, 0.1);
    expect_way_of(channel, errors, way);
  }

  /// The error as the plant knows it is off by what the monitor is, which the daemon cannot know.
  void expect_way_of(unsigned channel, const way_of_error& errors, const nx::json_document& way) {
    const double bias = node_->number(insight_path(channel, "error")) - errors.back().second;
    const double dead_band = node_->number(insight_path(channel, "deadBand"));
    const double side = errors.front().second + bias < 0 ? -1 : 1;
    double seconds = 0.0;
    double beyond = 0.0;
    for (const auto& [since, error] : errors) {
      if (std::fabs(error + bias) > dead_band) seconds = since;
      beyond = std::max(beyond, -side * (error + bias));
    }
    EXPECT_LT(std::fabs(bias), 0.2);
    EXPECT_NEAR(way["seconds"].GetDouble(), seconds, 0.55);
    EXPECT_NEAR(way["largestExcursion"].GetDouble(), beyond, 0.1);
  }

  std::unique_ptr<plant_node> node_;
  std::vector<unsigned> lit_;
};

TEST_F(arrival, is_told_as_the_plant_knows_it) {
  start(39);
  const auto all = node_->channels();
  const auto changed = all[20];
  const auto path = fmt::format("config/client/{}/rx/", changed);
  expect_told_as_it_was(all[39], "lit", [&] { add_lit(all[39]); });
  expect_told_as_it_was(changed, "disturbed", [&] { node_->disturb(changed, 3.0); });
  expect_told_as_it_was(changed, "disturbed", [&] { node_->disturb(changed, -3.0); });
  expect_told_as_it_was(changed, "target", [&] {
    const auto wanted = path + "wantedPowerOffset";
    node_->write(wanted, fmt::format("{:.2f}", node_->number(wanted) - 3.0));
  });
  node_->write(path + "adminStatus", "\"down\"");
  node_->run_for(20s);
  EXPECT_EQ(node_->text(insight_path(changed, "state")), "blocked");
  constexpr unsigned port_and_default = 2;
  const auto unblock = [&] { node_->write(path + "adminStatus", "\"up\""); };
  expect_told_as_it_was(changed, "unblocked", unblock, port_and_default);
}

TEST_F(arrival, tells_a_neighbour_that_moves_from_a_usual_monitors_noise) {
  start(40, test::dark_topology("orvamax"));
  const auto all = node_->channels();
  for (const double moved : {0.0, 0.3, -0.6, 1.2}) {
    SCOPED_TRACE(moved);
    node_->disturb(all[20], 4.0);
    node_->disturb(all[7], moved);
    node_->run_for(30s);
    const auto way = told(all[20]);
    EXPECT_STREQ(way["cause"].GetString(), "disturbed");
    EXPECT_NEAR(told_move(way), moved, 0.1);
    if (moved != 0.0) {
      EXPECT_EQ(way["neighbour"]["channel"].GetUint(), all[7]);
    }
    node_->disturb(all[20], -4.0);
    node_->disturb(all[7], -moved);
    node_->run_for(2min);
  }
}

TEST_F(arrival, of_a_channel_that_is_added_among_forty) {
  start(40, "selkaplus");
  const auto added = node_->channels()[40];
  constexpr unsigned writes_of_an_add = 3;  // the port twice, and the attenuation it begins with
  expect_told_as_it_was(
      added, "added", [&] { add_lit(added); }, writes_of_an_add);
}

class lit_at_start : public testing::TestWithParam<std::string> {};

TEST_P(lit_at_start, is_what_set_each_channel_going) {
  plant_node node(GetParam());
  node.start();
  if (node.has_channels_by_command()) node.add_channels();
  node.run_for(2min);
  unsigned told = 0;
  for (const auto& path : node.tree().list("insight/client", true)) {
    if (!path.ends_with("/arrival") || test::shown_at(node.tree(), path).starts_with("! -61"))
      continue;
    ++told;
    const std::string cause = test::value_of(node.tree(), path)["cause"].GetString();
    EXPECT_EQ(cause, node.has_channels_by_command() ? "added" : "lit") << path;
  }
  EXPECT_GE(told, node.channels().size());
}

INSTANTIATE_TEST_SUITE_P(models, lit_at_start, testing::ValuesIn(models::names()),
                         [](const auto& of) { return of.param; });

TEST(channel_insight, comes_and_goes_with_the_channel) {
  plant_node node(test::dark_topology("selkaplus"));
  node.start();
  const auto channel = node.channels()[3];
  const auto state = insight_path(channel, "state");
  node.add_channel(channel);
  node.run_for(10s);
  EXPECT_EQ(node.text(state), "dark");
  EXPECT_EQ(test::shown_at(node.tree(), insight_path(channel, "measured")).find("! -61 No value: "),
            0u);
  node.plant().switch_laser(0, channel, true);
  node.run_for(20s);
  EXPECT_EQ(node.text(state), "on target");
  EXPECT_STREQ(test::value_of(node.tree(), insight_path(channel, "arrival"))["cause"].GetString(),
               "added");
  node.write("config/automationMode", "\"bright\"");
  node.run_for(10s);
  EXPECT_EQ(node.text(state), "unmanaged");
  EXPECT_EQ(node.text("insight/line/state"), "not regulated on this model");
  EXPECT_EQ(node.text("insight/line/why").find("left alone: the automation mode is bright, and"),
            0u)
      << node.text("insight/line/why");
  EXPECT_EQ(node.text("insight/summary").find("not regulating because"), 0u);
  node.write("config/automationMode", "\"managedCLI\"");
  node.run_for(10s);
  EXPECT_EQ(node.text("insight/line/state"), "no peer");
  node.run("command/channel/remove", fmt::format(R"({{"center":{},"direction":"rx"}})", channel));
  EXPECT_EQ(node.tree().find(state), nullptr);
}

TEST(channel_insight, tells_a_dead_device_by_its_loop_and_ends_with_it) {
  plant_node node("orvalite");
  node.start();
  node.run_for(1min);
  const auto state = insight_path(node.channels()[3], "state");
  const auto before = node.text(state);
  node.plant().set_nexel_state(0, "booster", sim::nexel_state::killed);
  node.run_for(20s);
  EXPECT_EQ(node.text(state), "loop down");
  EXPECT_EQ(node.text("insight/summary").find("client rx down since "), 0u)
      << node.text("insight/summary");
  node.plant().set_nexel_state(0, "booster", sim::nexel_state::ok);
  node.run_for(2min);
  EXPECT_EQ(node.text(state), before);
  EXPECT_EQ(node.text("insight/summary").find("down"), std::string::npos)
      << node.text("insight/summary");
}

/// A subscriber to all of "insight" of a node.
class insight_watch {
 public:
  explicit insight_watch(nx_db& tree) {
    for (const auto& path : tree.list("insight", true))
      test::subscribe_to(tree, path, session_);
    session_->take();
  }
  std::map<std::string, unsigned> take() {
    std::map<std::string, unsigned> counts;
    for (const auto& event : session_->take()) {
      const auto at = event.find("insight/");
      ++counts[event.substr(at, event.find(' ', at) - at)];
    }
    return counts;
  }

 private:
  std::shared_ptr<test::recording_session> session_ = std::make_shared<test::recording_session>();
};

class insight_at_rest : public testing::TestWithParam<std::string> {};

TEST_P(insight_at_rest, tells_nearly_nothing) {
  plant_node node(GetParam());
  node.face_itself();
  node.start();
  node.add_channels();
  node.run_for(5min);
  insight_watch watch(node.tree());
  node.run_for(1min);
  unsigned all = 0;
  std::string told;
  for (const auto& [path, count] : watch.take()) {
    all += count;
    told += fmt::format("{} {}\n", path, count);
  }
  EXPECT_LT(all, 60u) << told;
}

INSTANTIATE_TEST_SUITE_P(models, insight_at_rest, testing::ValuesIn(models::names()),
                         [](const auto& of) { return of.param; });

bool hunts(plant_node& node) {
  return test::value_of(node.tree(), "insight/rest")["client rx"]["hunts"].GetBool();
}

/// An hour; for who asks for soaks a whole day, of drift a night.
std::chrono::hours quiet_time(bool drifts) {
  if (std::getenv("LUMORA_SOAK_DAYS") == nullptr) return 1h;
  return drifts ? 12h : 24h;
}

/// As clients and patch cords drift in a night, one up and the next down.
void drift(plant_node& node, double db_per_hour) {
  double sign = 1.0;
  for (const auto channel : node.channels()) {
    node.plant().change_laser(0, channel,
                              [&](auto& laser) { laser.drift_db_per_hour = sign * db_per_hour; });
    sign = -sign;
  }
}

TEST(hunting, is_told_of_a_noisy_monitor_and_of_no_quiet_one) {
  const std::pair<double, double> table[] = {{0.2, 0}, {0.3, 0}, {0.05, 0}, {0.05, 0.25}};
  for (const auto& [noise_db, drift_db_per_hour] : table) {
    SCOPED_TRACE(fmt::format("{} dB, {} dB an hour", noise_db, drift_db_per_hour));
    auto topology = test::dark_topology("orvalite");
    topology.nodes[0].booster_monitor.noise_db = noise_db;
    plant_node node(topology);
    node.start();
    node.plant().fill_band(0);
    node.run_for(2min);
    drift(node, drift_db_per_hour);
    const bool is_quiet = noise_db < 0.1;
    const auto begin = node.now();
    while (node.now() - begin < (is_quiet ? quiet_time(drift_db_per_hour > 0) : 10min) &&
           !hunts(node))
      node.run_for(10s);
    EXPECT_EQ(hunts(node), !is_quiet)
        << std::chrono::duration<double>(node.now() - begin).count() << " s";
  }
}

TEST(hunting, is_over_for_subscribers_too_soon_after_the_steps_have_ended) {
  plant_node node("orvalite");
  node.start();
  ASSERT_TRUE(node.run_until([&] { return node.all_on_target(); }, 1min));
  const auto session = std::make_shared<test::recording_session>();
  test::subscribe_to(node.tree(), "insight/summary", session);
  constexpr const char* monitor = "data/ocm/1/channel/19230000/powerLevel";
  node.plant().set_reading_fault(0, "wss_edge", monitor, sim::reading_fault::noisy(1.0));
  ASSERT_TRUE(node.run_until([&] { return hunts(node); }, 5min));
  node.plant().heal_readings(0, "wss_edge");
  std::string last;
  EXPECT_TRUE(node.run_until(
      [&] {
        for (const auto& each : session->take())
          last = each;
        return !last.empty() && last.find("hunts") == last.npos;
      },
      4min))
      << last;
}

}  // namespace
