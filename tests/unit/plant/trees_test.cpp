// What the devices' services do with what the daemon writes, what they refuse, and what they tell
// their subscribers.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "platform/nexel_client/in_process.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/value_tree/nx_db.h"
#include "sim/plant.h"
#include "tests/support/failure.h"
#include "tests/support/tree_values.h"

namespace {

using namespace sim;
using namespace std::chrono_literals;
using test::failure_of;
using test::number_of;
using test::run_at;
using test::text_of;
using test::write_to;

std::shared_ptr<nexel_client_api> connect(const std::string& name) {
  return nexel_client::create(nullptr, plant::nexel_address(name), "unnamed", {});
}

class trees : public testing::Test {
 protected:
  explicit trees(const std::string& product = "orvapro") : plant_(default_topology(product)) {
    plant_.attach_to(network_);
    plant_.step(4s);
  }

  nx::in_process_network network_;
  plant plant_;
};

TEST_F(trees, refuse_what_is_out_of_range_or_of_another_type) {
  const std::array<const char*, 4> table[] = {
      {"wss_edge", "config/wss/1/channel/19210000/attenuation", "15.2",
       "! -22 attenuation 15.199999809265137 dB is out of range [0, 15]"},
      {"wss_edge", "config/wss/1/channel/19210000/attenuation", "\"5\"", "? float, string"},
      {"wss_edge", "config/wss/1/channel/19210000/port", "\"open\"",
       "! -22 port: found 'open', accepted are 'on' and 'off'"},
      {"booster", "config/gain", "27", "! -22 gain 27 dB is out of range [15, 26]"},
      {"booster", "config/enable", "1", "? bool, 32-bit unsigned integer"},
      {"booster", "data/gain", "20", "! -22 Not writable: data/gain"},
      {"voa_sfp", "config/attenuation", "-1", "! -22 attenuation -1 dB is out of range [0, 25]"},
      {"tdcm", "config/dispersion", "900",
       "! -22 dispersion 900 ps/nm is out of range [-700, 700]"},
  };
  for (const auto& [nexel, path, value, refusal] : table) {
    auto& tree = plant_.nexel_tree(nexel);
    EXPECT_EQ(failure_of([&, to = path, what = value] { write_to(tree, to, what); }), refusal)
        << path;
  }
  EXPECT_EQ(
      failure_of([&] {
        run_at(plant_.nexel_tree("led_selka"), "command/line/1/rxLed/status", "\"blue\"");
      }),
      "! -22 colour: found 'blue', accepted are 'off', 'green', 'yellow', 'orange' and 'red'");
}

/// Remembers what it was sent.
class listener : public nexel_subscriber {
 public:
  using nexel_subscriber::nexel_subscriber;
  void send_changed_value_event(std::string_view, const nx::json_value& value) override {
    values.push_back(value.GetDouble());
  }
  void send_exception_event(std::string_view, const nx_client_exception&) override { ++failures; }
  void send_subscription_ended_event(std::string_view, subscription_ended_rc) override { ++ended; }

  std::vector<double> values;
  int failures = 0;
  int ended = 0;
};

TEST_F(trees, tell_subscribers_of_changes_alone) {
  const auto client = connect("wss_edge");
  const auto power = std::make_shared<listener>("data/ocm/1/channel/19300000/powerLevel");
  const auto attenuation = std::make_shared<listener>("data/wss/1/channel/19300000/attenuation");
  client->add_subscriber(power);
  client->add_subscriber(attenuation);
  for (int i = 0; i < 40; ++i) {
    plant_.step(250ms);
    network_.deliver();
  }
  EXPECT_EQ(attenuation->values, std::vector<double>{15.0});
  EXPECT_GE(power->values.size(), 8u) << "noise makes nearly every pass another one";
  EXPECT_LE(power->values.size(), 12u) << "one event a pass at most";

  plant_.set_monitor_stuck(0, direction::rx, true);
  const auto seen = power->values.size();
  plant_.step(10s);
  EXPECT_EQ(power->values.size(), seen);
  plant_.set_monitor_stuck(0, direction::rx, false);

  plant_.drop_subscription(0, "wss_edge", "data/ocm/1/channel/19300000/*");
  EXPECT_EQ(power->ended, 1);
  EXPECT_EQ(attenuation->ended, 0);
  EXPECT_NO_THROW(client->get<float>("data/ocm/1/channel/19300000/powerLevel"));
}

TEST(orvakinet_trees, number_channels_by_their_place_and_have_no_attenuator) {
  plant one(default_topology("orvakinet"));
  auto& edge = one.nexel_tree("wss_edge");
  EXPECT_TRUE(edge.find("data/wss/1/channel/8/attenuation"));
  EXPECT_FALSE(edge.find("data/wss/1/channel/9/attenuation"));
  EXPECT_TRUE(edge.find("data/ocm/2/channel/44/powerLevel"));
  EXPECT_THROW(one.nexel_tree("voa_sfp"), std::out_of_range);
  // The monitor behind the preamp sees what the drop switch does.
  one.step(5s);
  const double before_dbm = number_of(edge, "data/ocm/2/channel/8/powerLevel");
  write_to(edge, "config/wss/2/channel/8/attenuation", "7.0");
  one.step(2s);
  EXPECT_NEAR(number_of(edge, "data/ocm/2/channel/8/powerLevel"), before_dbm - 2.0, 0.3);
}

TEST(selka_trees, make_channels_by_command_and_follow_the_store) {
  plant one(default_topology("selkamin"));
  std::optional<double> stored;
  one.set_switch_source(
      [&](const std::string& module, unsigned) { return module == "add" ? stored : std::nullopt; });
  auto& twin = one.nexel_tree("wss");
  auto& monitor = one.nexel_tree("ocm");
  const std::string add = R"("{\"center_frequency\":19210000,\"width\":10000,\"port\":2}")";
  EXPECT_EQ(text_of(twin, "data/module/add/channelPlanLoaded"), "false");
  EXPECT_EQ(run_at(twin, "command/module/add/addChannel", add), "true");
  EXPECT_EQ(run_at(monitor, "command/port/0/system/createChannel", add), "true");
  EXPECT_EQ(run_at(twin, "command/module/add/addChannel", "\"{}\""), "false");
  EXPECT_EQ(number_of(twin, "config/module/add/channel/19210000/port"), 2);
  const std::string attenuation = "data/module/add/channel/19210000/attenuation";
  one.step(2s);
  EXPECT_EQ(number_of(twin, attenuation), 100.0) << "blocked until the store says otherwise";
  for (const double each : {6.5, 100.0}) {
    stored = each;
    one.step(3s);
    EXPECT_EQ(number_of(twin, attenuation), each);
    EXPECT_EQ(text_of(monitor, "data/port/0/channel/19210000/peak"), each < 50 ? "true" : "false");
  }
  EXPECT_EQ(run_at(twin, "command/module/add/removeAllChannels", "true"), "true");
  EXPECT_FALSE(twin.find(attenuation));
  EXPECT_EQ(run_at(monitor, "command/port/0/system/createChannelPlan",
                   R"([{"center_frequency":19220000,"width":10000,"port":2}])"),
            "true");
  EXPECT_TRUE(monitor.find("data/port/0/channel/19220000/power"));
}

}  // namespace
