// What the devices' services offer: every path that the daemon's proxies read or write, with its
// type, and how they refuse, hang, die and forget.
#include <gtest/gtest.h>

#include "platform/nexel_client/in_process.h"
#include "platform/nexel_client/nexel_client.h"
#include "sim/plant.h"
#include "tests/unit/plant/tree_reader.h"

namespace {

using namespace sim;
using namespace std::chrono_literals;
using test::read_number;
using test::read_text;
using test::refusal_of;
using test::write;

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

TEST_F(trees, serve_what_the_proxies_read_with_the_types_that_they_ask_for) {
  enum class type { boolean, number, count, text };
  struct {
    const char* nexel;
    type kind;
    std::vector<const char*> paths;
  } table[] = {
      {"booster", type::boolean, {"data/enable"}},
      {"booster",
       type::number,
       {"data/rxPower", "data/txPower", "data/powerLimit", "data/gain", "data/actualGain",
        "data/gainDefault", "data/gainMinThreshold", "data/gainMaxThreshold"}},
      {"preamp", type::count, {"alarms/lossOfSignal/severity"}},
      {"preamp", type::number, {"data/rxPower", "data/gain", "data/gainDefault"}},
      {"voa_sfp", type::text, {"data/operStatus"}},
      {"voa_sfp", type::number, {"data/attenuation", "data/insertionLoss"}},
      {"sfp/0", type::boolean, {"present"}},
      {"sfp/0", type::number, {"data/rxPower", "data/txPower"}},
      {"sfp/0", type::count, {"alarms/lossOfSignal/severity"}},
      {"sfp/0", type::text, {"data/operStatus"}},
      {"osc1", type::text, {"data/debug/state", "data/neighbour"}},
      {"osc1", type::number, {"data/fiberLength", "data/fiberDispersion"}},
      {"osc1", type::count, {"alarms/lossOfLink/severity"}},
      {"wss_edge", type::text, {"data/moduleStatus", "data/wss/1/channel/19210000/port"}},
      {"wss_edge",
       type::number,
       {"data/wss/1/channel/19210000/attenuation", "data/wss/2/channel/19600000/attenuation",
        "data/ocm/1/channel/19210000/powerLevel", "data/ocm/2/channel/19600000/detectLevel",
        "data/ocm/1/totalPower", "data/ocm/2/totalPower"}},
      {"wss_edge",
       type::boolean,
       {"data/ocm/1/channel/19600000/detected", "data/ocm/2/channel/19210000/detected"}},
      {"tdcm",
       type::number,
       {"data/debug/tuningRangeMax", "data/debug/tuningRangeMin", "data/currentDispersion"}},
      {"tdcm", type::text, {"inventory/partNumber"}},
      {"system_info",
       type::text,
       {"inventory/partNumber", "data/swVersion", "inventory/hwRevision"}},
      {"system_start", type::boolean, {"data/systemColdstart"}},
      {"led_selka", type::boolean, {"data/configStatus"}},
      {"led_selka",
       type::text,
       {"data/client/1/rxLed/status", "data/client/40/txLed/status", "data/line/1/rxLed/status"}},
  };
  for (const auto& row : table) {
    const auto client = connect(row.nexel);
    for (const std::string path : row.paths) {
      SCOPED_TRACE(std::string(row.nexel) + " " + path);
      const auto value = test::read(plant_.nexel_tree(row.nexel), path);
      EXPECT_TRUE(plant_.nexel_tree(row.nexel).find(path)->subscription_supported());
      switch (row.kind) {
        case type::boolean:
          EXPECT_NO_THROW(client->get<bool>(path));
          break;
        case type::number:
          EXPECT_NO_THROW(client->get<float>(path));
          EXPECT_TRUE(value.IsDouble() || value.IsNumber());
          break;
        case type::count:
          EXPECT_NO_THROW(client->get<unsigned int>(path));
          break;
        case type::text:
          EXPECT_TRUE(value.IsString());
          break;
      }
    }
  }
}

TEST_F(trees, do_what_the_proxies_write) {
  const auto edge = connect("wss_edge");
  edge->set<void>("config/wss/2/channel/19210000/attenuation", 4.04F);
  edge->set<void>("config/wss/1/channel/19220000/port", "off");
  edge->set<void>("config/ocm/2/channelDetectLevel", -32.0F);
  EXPECT_EQ(edge->get<float>("data/ocm/2/channel/19600000/detectLevel"), -32.0F);
  connect("voa_sfp")->set<void>("config/attenuation", 7.26F);
  connect("booster")->set<void>("config/enable", false);
  connect("preamp")->set<void>("config/gain", 21.5F);
  connect("tdcm")->set<void>("config/dispersion", -120.0F);
  EXPECT_EQ(connect("ols_optical_switch/1")->set<int>("command/pathselect", 2), 2);
  EXPECT_EQ(connect("ols_optical_switch/1")->set<int>("command/pathselect", 5), 2);
  EXPECT_TRUE(connect("led_selka")->set<bool>("command/client/7/rxLed/status", "green"));
  plant_.step(3s);
  EXPECT_EQ(edge->get<float>("data/wss/2/channel/19210000/attenuation"), 4.0F);
  EXPECT_EQ(edge->get<std::string>("data/wss/1/channel/19220000/port"), "off");
  EXPECT_EQ(connect("voa_sfp")->get<float>("data/attenuation"), 7.3F);
  EXPECT_FALSE(connect("booster")->get<bool>("data/enable"));
  EXPECT_LT(connect("booster")->get<float>("data/txPower"), -50.0F);
  EXPECT_EQ(connect("preamp")->get<float>("data/gain"), 21.5F);
  EXPECT_EQ(connect("tdcm")->get<float>("data/currentDispersion"), -120.0F);
  EXPECT_EQ(connect("led_selka")->get<std::string>("data/client/7/rxLed/status"), "green");
  EXPECT_EQ(connect("led_selka")->get_or<std::string>("data/client/41/rxLed/status", "end"), "end");
}

TEST_F(trees, refuse_what_is_out_of_range_or_of_another_type) {
  struct {
    const char* nexel;
    const char* path;
    const char* value;
    const char* refusal;
  } table[] = {
      {"wss_edge", "config/wss/1/channel/19210000/attenuation", "15.2",
       "-22 attenuation 15.199999809265137 dB is out of range [0, 15]"},
      {"wss_edge", "config/wss/1/channel/19210000/attenuation", "\"5\"",
       "expected float, found string"},
      {"wss_edge", "config/wss/1/channel/19210000/port", "\"open\"",
       "-22 port: found 'open', accepted are 'on' and 'off'"},
      {"booster", "config/gain", "27", "-22 gain 27 dB is out of range [15, 26]"},
      {"booster", "config/enable", "1", "expected bool, found 32-bit unsigned integer"},
      {"booster", "data/gain", "20", "-22 Not writable: data/gain"},
      {"voa_sfp", "config/attenuation", "-1", "-22 attenuation -1 dB is out of range [0, 25]"},
      {"tdcm", "config/dispersion", "900", "-22 dispersion 900 ps/nm is out of range [-700, 700]"},
  };
  for (const auto& row : table) {
    auto& tree = plant_.nexel_tree(row.nexel);
    EXPECT_EQ(refusal_of([&] { write(tree, row.path, row.value); }), row.refusal) << row.path;
  }
  EXPECT_EQ(refusal_of([&] {
              test::run(plant_.nexel_tree("led_selka"), "command/line/1/rxLed/status", "\"blue\"");
            }),
            "-22 colour: found 'blue', accepted are 'off', 'green', 'yellow', 'orange' and 'red'");
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

TEST_F(trees, hang_die_refuse_and_come_back) {
  const auto voa = connect("voa_sfp");
  const auto code_of = [&](const std::function<void()>& call) {
    try {
      call();
    } catch (const nx_client_exception& error) {
      return error.code;
    }
    return 0;
  };
  const auto get = [&] { voa->get<float>("data/attenuation"); };
  const auto set = [&] { voa->set<void>("config/attenuation", 6.0F); };
  plant_.set_nexel_state(0, "voa_sfp", nexel_state::killed);
  EXPECT_EQ(code_of(get), -107);
  plant_.set_nexel_state(0, "voa_sfp", nexel_state::hung);
  EXPECT_EQ(code_of(get), -110);
  EXPECT_EQ(read_text(plant_.control_tree(), "config/node/0/nexel/voa_sfp/state"), "hung");
  plant_.set_nexel_state(0, "voa_sfp", nexel_state::ok);
  EXPECT_EQ(code_of(get), 0);
  write(plant_.control_tree(), "config/node/0/nexel/voa_sfp/state", "\"refusing\"");
  EXPECT_EQ(plant_.get_nexel_state(0, "voa_sfp"), nexel_state::refusing);
  EXPECT_EQ(code_of(get), 0) << "reads go on";
  EXPECT_EQ(code_of(set), -5);
  EXPECT_EQ(plant_.voa_writes(0), 0u);
  write(plant_.control_tree(), "config/node/0/nexel/voa_sfp/state", "\"ok\"");
  EXPECT_EQ(code_of(set), 0);
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
  const double before_dbm = read_number(edge, "data/ocm/2/channel/8/powerLevel");
  write(edge, "config/wss/2/channel/8/attenuation", "7.0");
  one.step(2s);
  EXPECT_NEAR(read_number(edge, "data/ocm/2/channel/8/powerLevel"), before_dbm - 2.0, 0.3);
}

TEST(selka_trees, make_channels_by_command_and_follow_the_store) {
  plant one(default_topology("selkamin"));
  std::map<std::string, double> store;
  one.set_switch_source([&](const std::string& module, unsigned channel) -> std::optional<double> {
    const auto at = store.find(module + std::to_string(channel));
    return at == store.end() ? std::nullopt : std::optional(at->second);
  });
  auto& twin = one.nexel_tree("wss");
  auto& monitor = one.nexel_tree("ocm");
  const std::string add = R"("{\"center_frequency\":19210000,\"width\":10000,\"port\":2}")";
  EXPECT_EQ(read_text(twin, "data/module/add/channelPlanLoaded"), "false");
  EXPECT_EQ(test::run(twin, "command/module/add/addChannel", add), "true");
  EXPECT_EQ(test::run(monitor, "command/port/0/system/createChannel", add), "true");
  EXPECT_EQ(test::run(twin, "command/module/add/addChannel", "\"{}\""), "false");
  EXPECT_EQ(read_number(twin, "config/module/add/channel/19210000/port"), 2);
  const std::string attenuation = "data/module/add/channel/19210000/attenuation";
  one.step(2s);
  EXPECT_EQ(read_number(twin, attenuation), 100.0) << "blocked until the store says otherwise";
  EXPECT_EQ(read_text(monitor, "data/port/0/channel/19210000/peak"), "false");

  store["add19210000"] = 6.5;
  one.step(3s);
  EXPECT_EQ(read_number(twin, attenuation), 6.5);
  EXPECT_EQ(read_text(monitor, "data/port/0/channel/19210000/peak"), "true");
  EXPECT_EQ(one.channel_writes(0, direction::rx, 19210000).switch_attenuation, 1u);
  store["add19210000"] = 100.0;
  one.step(3s);
  EXPECT_EQ(read_number(twin, attenuation), 100.0);
  EXPECT_EQ(read_text(monitor, "data/port/0/channel/19210000/peak"), "false");

  EXPECT_EQ(test::run(twin, "command/module/add/removeAllChannels", "true"), "true");
  EXPECT_FALSE(twin.find(attenuation));
  EXPECT_EQ(test::run(monitor, "command/port/0/system/createChannelPlan",
                      R"([{"center_frequency":19220000,"width":10000,"port":2}])"),
            "true");
  EXPECT_TRUE(monitor.find("data/port/0/channel/19220000/power"));
  EXPECT_EQ(read_text(monitor, "data/port/0/channelPlanLoaded"), "true");
}

}  // namespace
