// Every model on the plant, from its start to its channels at rest. One table, which states only
// the differences.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using sim::measuring_point;
using test::plant_node;

struct model {
  const char* product;
  const char* devices;  ///< beyond those that every model has
  unsigned slices;      ///< of 6.25 GHz
  std::size_t channels;
  const char* index;           ///< how "data/channel/index" begins
  const char* first_id;        ///< of the paths of the first channel
  const char* last_center;     ///< frequency of the last channel, 10 MHz
  const char* port;            ///< number and name of the first channel's port
  float utilization_in_dark;   ///< percent, all channels there and none lit
  float utilization_when_lit;  ///< percent
  bool has_automation_mode;
  float parked_tx;       ///< default attenuation towards the client, dB
  float saturation_cap;  ///< limit of how much a saturated booster lowers a target, dB
  bool regulates_tx;
};

std::ostream& operator<<(std::ostream& out, const model& of) {
  return out << of.product;
}

// clang-format off
constexpr model models[] = {
    {"orvalite", "voa_sfp wss_edge", 768, 32, "[19140000,19155000,", "19140000", "19605000",
     "1 localAD", 0.0f, 100.0f, true, 5.0f, 1.0f, false},
    {"orvamax", "voa_sfp wss_edge", 768, 40, "[19210000,19220000,", "19210000", "19600000",
     "1 localAD", 0.0f, 100.0f, true, 5.0f, 1.0f, false},
    {"orvapro", "ols_optical_switch/1 tdcm voa_sfp wss_edge", 768, 40, "[19210000,19220000,", "19210000", "19600000",
     "1 localAD", 0.0f, 100.0f, true, 5.0f, 1.0f, false},
    {"orvakinet", "wss_edge", 768, 40, "[1,2,3,4,5,6,7,8,9,10,", "1", "19590000",
     "1 localAD", 83.3f, 83.3f, false, 5.0f, 5.0f, true},
    {"selkamin", "ocm voa_sfp wss", 772, 48, "[19210000,19220000,", "19210000", "19680000",
     "2 localAD", 99.5f, 99.5f, true, 5.0f, 0.0f, false},
    {"selkaplus", "ocm voa_sfp wss", 772, 48, "[19210000,19220000,", "19210000", "19680000",
     "2 xc2", 99.5f, 99.5f, true, 0.0f, 0.0f, false},
};
// clang-format on

class every_model : public testing::TestWithParam<model> {
 protected:
  void SetUp() override {
    node_.start();
    node_.add_channels();
    node_.run_for(5s);
  }

  void light_up() {
    node_.plant().fill_band(0);
    EXPECT_TRUE(node_.run_until([&] { return node_.all_on_target(); }, 20s));
    node_.run_for(2min);
    EXPECT_TRUE(node_.all_on_target());
  }

  std::string first(const char* side) const {
    return fmt::format("client/{}/{}/", expected_.first_id, side);
  }

  std::string devices() const {
    auto names = node_.devices();
    for (const char* common : {"booster", "led_selka", "osc1", "preamp", "sfp/0"})
      EXPECT_EQ(names.erase(common), 1u) << common;
    return fmt::format("{}", fmt::join(names, " "));
  }

  /// The lowest target of a channel in a second of cycles.
  float lowest_target() {
    node_.take_log();
    node_.write("debug/loglevel", "\"debug\"");
    node_.run_for(1s);
    node_.write("debug/loglevel", "\"normal\"");
    float lowest = 99.0f;
    constexpr std::string_view line = "channel_target_power: ";
    for (const auto& text : node_.take_log()) {
      if (text.starts_with(line)) lowest = std::min(lowest, std::stof(text.substr(line.size())));
    }
    return lowest;
  }

  const model expected_ = GetParam();
  plant_node node_{test::dark_topology(GetParam().product)};
};

TEST_P(every_model, has_its_devices_channels_and_defaults) {
  EXPECT_EQ(devices(), expected_.devices);
  ASSERT_EQ(node_.channels().size(), expected_.channels);
  EXPECT_EQ(std::to_string(node_.channels().back()), expected_.last_center);
  const auto log = node_.take_log();
  for (const char* side : {"rx", "tx"}) {
    const auto line = fmt::format("Channel plan in direction '{}' created with {} slices", side,
                                  expected_.slices);
    EXPECT_EQ(std::ranges::count(log, line), 1) << line;
    EXPECT_EQ(fmt::format("{} {}", node_.number("data/" + first(side) + "wssPort"),
                          node_.text("data/" + first(side) + "wssPortName")),
              expected_.port);
  }
  EXPECT_TRUE(node_.text("data/channel/index").starts_with(expected_.index))
      << node_.text("data/channel/index");
  EXPECT_FLOAT_EQ(node_.number("data/system/utilization"), expected_.utilization_in_dark);
  EXPECT_EQ(node_.tree().find("data/automationMode") != nullptr, expected_.has_automation_mode);
  EXPECT_FALSE(node_.flag("data/" + first("rx") + "peak"));
  EXPECT_NEAR(node_.number("data/" + first("rx") + "attenuation"), 15.0f, 0.1f);
  // The far end is lit, so that a model which regulates this side has moved it already.
  EXPECT_NEAR(node_.number("data/" + first("tx") + "attenuation"), expected_.parked_tx,
              expected_.regulates_tx ? 1.0 : 0.1);
}

TEST_P(every_model, brings_its_band_to_target_and_a_channel_to_another) {
  light_up();
  EXPECT_TRUE(node_.flag("data/" + first("rx") + "peak"));
  EXPECT_FLOAT_EQ(node_.number("data/system/utilization"), expected_.utilization_when_lit);

  const auto channel = node_.channels().front();
  const auto power_behind_preamp = [&] {
    return node_.plant().channel_power_dbm(0, measuring_point::preamp_output, channel);
  };
  const double before = power_behind_preamp();
  constexpr float lower_db = 2.5f;
  for (const char* side : {"rx", "tx"}) {
    const auto wanted = "config/" + first(side) + "wantedPowerOffset";
    node_.write(wanted, fmt::format("{}", node_.number(wanted) - lower_db));
    EXPECT_NEAR(node_.number("data/" + first(side) + "wantedPowerOffset"), -lower_db, 0.01);
  }
  node_.run_for(20s);
  EXPECT_NEAR(node_.true_error(channel), -lower_db, 0.7);
  EXPECT_NEAR(power_behind_preamp() - before, expected_.regulates_tx ? -lower_db : 0.0, 0.7);
  for (const auto& line : node_.take_log())
    EXPECT_TRUE(line.find("xception") == line.npos && !line.starts_with("Failed")) << line;
}

TEST_P(every_model, lowers_its_targets_for_a_saturated_booster_up_to_its_cap) {
  light_up();
  const float at_rest = lowest_target();
  for (const auto channel : node_.channels())
    node_.disturb(channel, 10.0);
  EXPECT_NEAR(at_rest - lowest_target(), expected_.saturation_cap, 0.2);
}

TEST(models_on_the_plant, have_a_row_for_each_of_the_table) {
  std::vector<std::string> names;
  for (const auto& row : models)
    names.emplace_back(row.product);
  EXPECT_EQ(names, ::models::names());
}

INSTANTIATE_TEST_SUITE_P(models, every_model, testing::ValuesIn(models),
                         [](const auto& of) { return std::string(of.param.product); });

}  // namespace
