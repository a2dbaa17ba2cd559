// Channels added and removed by command, on the models with the twin switch: the effects on
// devices, store, tree and light, what is refused, and what comes back after a restart, a lost plan
// and a store that dies half-way.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/loops/channel_places.h"
#include "tests/support/failure.h"

namespace {

using namespace std::chrono_literals;
using test::plant_node;

constexpr const char* add_path = "command/channel/add";
constexpr const char* remove_path = "command/channel/remove";
constexpr unsigned first = 19210000;
constexpr unsigned second = 19220000;

class channel_commands : public testing::TestWithParam<const char*> {
 protected:
  channel_commands() { node_.start(); }

  /// "", or the client's error.
  std::string answer(const char* command, const std::string& request) {
    return test::failure_of([&] { node_.run(command, request); });
  }
  std::string add(unsigned centre, const std::string& direction = "both") {
    return answer(add_path,
                  fmt::format(R"({{"center":{},"width":10000,"port":2,"direction":"{}"}})", centre,
                              direction));
  }
  std::string remove(unsigned centre, const std::string& direction = "both") {
    return answer(remove_path,
                  fmt::format(R"({{"center":{},"direction":"{}"}})", centre, direction));
  }

  std::string places_of(unsigned centre) { return test::places_of(node_, centre); }

  std::string index() { return node_.text("data/channel/index"); }

  bool has_light(unsigned centre) {
    return node_.flag(fmt::format("data/client/{}/rx/peak", centre));
  }

  void light_and_await_target(unsigned centre) {
    node_.write(fmt::format("config/client/{}/rx/opticalControlMode", centre), "\"power\"");
    node_.plant().switch_laser(0, centre, true);
    EXPECT_TRUE(node_.run_until([&] { return node_.on_target(centre); }, 20s))
        << centre << ": " << node_.true_error(centre);
  }

  plant_node node_{test::dark_topology(GetParam())};
};

TEST_P(channel_commands, each_direction_comes_and_goes_by_itself_and_comes_back) {
  struct step {
    const char* command;
    const char* direction;
    const char* places;
    const char* index;
  };
  const step steps[] = {
      {add_path, "rx", "smp|", "[19210000]"},
      {add_path, "rx", "smp|", "[19210000]"},
      {add_path, "tx", "smp|smp", "[19210000]"},
      {remove_path, "rx", "|smp", "[19210000]"},
      {remove_path, "tx", "|", "[]"},
      {remove_path, "both", "|", "[]"},
      {add_path, "both", "smp|smp", "[19210000]"},
  };
  const auto peak = fmt::format("data/client/{}/rx/peak", first);
  const auto mode = fmt::format("config/client/{}/rx/opticalControlMode", first);
  for (const auto& step : steps) {
    const bool adds = step.command == add_path;
    EXPECT_EQ(adds ? add(first, step.direction) : remove(first, step.direction), "");
    EXPECT_EQ(places_of(first), step.places) << step.command << " " << step.direction;
    EXPECT_EQ(index(), step.index) << step.command << " " << step.direction;
    node_.run_for(2s);
    EXPECT_TRUE(node_.is_fully_operational()) << step.command << " " << step.direction;
    if (std::string(step.places).starts_with("smp")) {
      light_and_await_target(first);
      EXPECT_TRUE(has_light(first)) << "the path serves the channel of this add";
      EXPECT_FLOAT_EQ(node_.number("data/system/utilization"), 2.1f);
    } else {
      // Values bound to the channel report that it is gone; published ones stay.
      EXPECT_THROW(node_.write(mode, "\"off\""), nx_error);
      EXPECT_TRUE(node_.flag(peak));
      EXPECT_FLOAT_EQ(node_.number("data/system/utilization"), 0.0f);
    }
  }
  EXPECT_EQ(test::stored_plan("rx"),
            R"([{"center_frequency":19210000,"width":10000,"port":2,"version":"R7"}])");
  EXPECT_EQ(test::stored_plan("tx"), test::stored_plan("rx"));
}

TEST_P(channel_commands, what_is_refused_changes_nothing) {
  ASSERT_EQ(add(first, "rx"), "");
  ASSERT_EQ(add(second, "tx"), "");
  // The texts of what is no request at all are a matter of its reading.
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {add_path, R"([])",
       "! -22 Invalid json structure. Expected center (unsigned, 8 digits, e.g. 19600000), "
       "direction (string, rx/tx), port (unsigned, 1-34) and width (unsigned, 100 * ghz)."},
      {add_path, R"({"center":19600000,"width":0,"port":2})",
       "! -22 Invalid width 0, expected 1 or more (100 * ghz)"},
      {add_path, R"({"center":19600000,"width":-5000,"port":2,"direction":"tx"})",
       "! -22 Invalid width -5000, expected 1 or more (100 * ghz)"},
      {add_path, R"({"center":19600000,"width":482501,"port":2})",
       "! -22 Invalid width 482501, expected 482500 or less (100 * ghz)"},
      {add_path, R"({"center":19217499,"width":5000,"port":2})",
       "! -22 RX channel 19217499, width 5000, does not fit. It overlaps with channel 19210000, "
       "width 10000."},
      {add_path, R"({"center":19212501,"width":5000,"port":2,"direction":"tx"})",
       "! -22 TX channel 19212501, width 5000, does not fit. It overlaps with channel 19220000, "
       "width 10000."},
      {add_path, R"({"center":19210000,"width":10000,"port":3,"direction":"rx"})",
       "! -22 RX channel 19210000, width 10000, does not fit. It overlaps with channel 19210000, "
       "width 10000."},
      {remove_path, R"({"center":19613126,"direction":"up"})",
       "! -22 Invalid center, expected something within 19134375-19613125"},
  };
  const auto expect_as_before = [&](const char* when) {
    EXPECT_EQ(index(), "[19210000,19220000]") << when;
    EXPECT_EQ(places_of(first), "smp|") << when;
    EXPECT_EQ(places_of(second), "|smp") << when;
    EXPECT_EQ(places_of(19600000), "|") << when;
  };
  for (const auto& [command, request, told] : rows) {
    EXPECT_EQ(answer(command, request), told) << request;
    expect_as_before(request);
  }
  kvs_memory::set_available(false);
  EXPECT_EQ(add(19600000), "! -5 Redis not connected.");
  EXPECT_EQ(remove(first), "! -5 Redis not connected.");
  kvs_memory::set_available(true);
  node_.plant().set_nexel_state(0, "wss", sim::nexel_state::refusing);
  EXPECT_EQ(add(19600000), "! -5 Refused by the device");
  node_.plant().set_nexel_state(0, "wss", sim::nexel_state::ok);
  expect_as_before("store and device");
  // Touching is not overlapping.
  EXPECT_EQ(answer(add_path, R"({"center":19217500,"width":5000,"port":2,"direction":"rx"})"), "");
}

TEST_P(channel_commands, a_restart_brings_the_channels_back_and_leaves_their_light_alone) {
  for (const auto centre : {first, second}) {
    ASSERT_EQ(add(centre), "");
    light_and_await_target(centre);
  }
  node_.run_for(30s);
  const auto writes = node_.plant().switch_writes(0, sim::direction::rx);
  const auto power = [this] {
    return node_.plant().channel_power_dbm(0, sim::measuring_point::booster_output, first);
  };
  const double before = power();
  node_.restart();
  EXPECT_EQ(index(), "[19210000,19220000]");
  EXPECT_EQ(node_.text(fmt::format("data/client/{}/rx/opticalControlMode", first)), "n/a");
  node_.run_for(30s);
  EXPECT_EQ(node_.plant().switch_writes(0, sim::direction::rx), writes);
  EXPECT_NEAR(power(), before, 0.1);
  // Regulated again once its mode is written.
  node_.plant().change_laser(0, first, [](auto& laser) { laser.power_dbm -= 2.0; });
  node_.run_for(10s);
  EXPECT_FALSE(node_.on_target(first));
  light_and_await_target(first);
}

TEST_P(channel_commands, a_stored_plan_without_a_good_entry_clears_no_device) {
  constexpr const char* key = "{conf}:qz/lumora:channel/plan/rx";
  ASSERT_EQ(add(first), "");
  light_and_await_target(first);
  const auto good = test::stored_plan("rx");
  kvs_memory::set(key, R"([{"center_frequency":19210000,"width":-10000,"port":2}])");
  const auto since = node_.now();
  node_.clock().at(since + 10s, [&] {
    EXPECT_EQ(places_of(first), "smp|smp") << "the switch goes on with what it has";
    kvs_memory::set(key, good);
  });
  node_.restart();
  EXPECT_GE(node_.now(), since + 10s);
  EXPECT_EQ(index(), "[19210000]");
  EXPECT_FLOAT_EQ(node_.number("data/system/utilization"), 2.1f);
  light_and_await_target(first);
}

TEST_P(channel_commands, a_device_that_lost_its_channels_is_given_them_again) {
  for (const auto centre : {first, second}) {
    ASSERT_EQ(add(centre), "");
    light_and_await_target(centre);
  }
  for (const char* device : {"wss", "ocm"}) {
    node_.plant().forget_channels(0, device);
    ASSERT_NE(places_of(first), "smp|smp");
    const auto is_back = [this] {
      return places_of(first) == "smp|smp" && node_.is_fully_operational();
    };
    EXPECT_TRUE(node_.run_until(is_back, 10s)) << device << ": " << places_of(first);
    EXPECT_EQ(places_of(second), "smp|smp") << device;
    EXPECT_EQ(index(), "[19210000,19220000]") << device;
    for (const auto centre : {first, second})
      light_and_await_target(centre);
  }
}

/// What dies, and at which step of the add.
TEST_P(channel_commands, an_add_that_breaks_off_is_repaired_by_the_same_add) {
  ASSERT_EQ(add(second), "");
  light_and_await_target(second);
  struct break_off {
    const char* at;  ///< the log line of the step
    const char* dies;
    const char* told;
    const char* places;
  };
  const break_off rows[] = {
      {"Adding TWIN-WSS channel", "store", "! -5 Redis not connected.", "sm|"},
      {"Adding OCM channel", "store", "! -5 Redis not connected.", "sm|"},
      {"Channel at 19210000 added", "store", "! -5 Redis not connected.", "sm|"},
      {"Created API for channel 19210000", "store", "! -5 Redis not connected.", "sm|"},
      {"Adding TX channel", "store", "! -5 Redis not connected.", "smp|sm"},
      {"Adding OCM channel", "ocm", "! -107 Not connected: /tmp/nexels/ocm", "s|"},
      {"Adding RX channel", "booster", "! -107 Not connected: /tmp/nexels/booster", "sm|"},
      {"Adding TX channel", "wss", "! -107 Not connected: /tmp/nexels/wss", "smp|"},
  };
  const auto set_alive = [this](const std::string& part, bool alive) {
    if (part == "store") return kvs_memory::set_available(alive);
    node_.plant().set_nexel_state(0, part, alive ? sim::nexel_state::ok : sim::nexel_state::killed);
  };
  const auto expect_repaired = [&](const break_off& row) {
    SCOPED_TRACE(fmt::format("{} dies at '{}'", row.dies, row.at));
    node_.at_log_line(row.at, [&] { set_alive(row.dies, false); });
    EXPECT_EQ(add(first), row.told);
    EXPECT_EQ(places_of(first), row.places);
    EXPECT_EQ(index(), "[19220000]") << "follows the next command that succeeds";
    node_.run_for(5s);
    set_alive(row.dies, true);
    EXPECT_TRUE(node_.run_until([this] { return node_.is_fully_operational(); }, 10s));
    EXPECT_TRUE(node_.on_target(second));

    EXPECT_EQ(add(first), "");
    EXPECT_EQ(places_of(first), "smp|smp");
    EXPECT_EQ(index(), "[19210000,19220000]");
    light_and_await_target(first);
    EXPECT_TRUE(has_light(first));
    EXPECT_TRUE(node_.is_fully_operational());
    ASSERT_EQ(remove(first), "");
    EXPECT_EQ(places_of(first), "|");
    node_.plant().switch_laser(0, first, false);
  };
  for (const bool refuses : {false, true}) {
    SCOPED_TRACE(refuses ? "devices that refuse what they have" : "devices that take it again");
    for (const char* device : {"wss", "ocm"})
      node_.plant().set_refuses_known_channels(0, device, refuses);
    for (const auto& row : rows)
      expect_repaired(row);
  }
}

INSTANTIATE_TEST_SUITE_P(models, channel_commands, testing::Values("selkamin", "selkaplus"),
                         [](const auto& of) { return std::string(of.param); });

}  // namespace
