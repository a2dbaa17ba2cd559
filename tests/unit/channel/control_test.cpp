// The regulator of one channel, cycle by cycle: when it may be touched, and what a step is.
#include <gtest/gtest.h>

#include <limits>
#include <map>

#include "platform/value_tree/nx_db.h"
#include "platform/wire/nx_error.h"
#include "products/control_types_full.h"
#include "tests/support/board_file.h"
#include "tests/support/fake_device.h"
#include "tests/support/tree_values.h"

namespace {

/// A switch that does at once what it is told, unless it fails; a regulator has no business with
/// the rest of it.
class obedient_switch : public test::fake_device<device::interfaces::wss> {
 public:
  std::map<unsigned, float> attenuation;

  void set_attenuation(unsigned channel, float value) override {
    access("attenuation");
    attenuation[channel] = value;
  }
  float get_attenuation(unsigned channel) override { return attenuation.at(channel); }
  float get_min_attenuation() override { return 0.0f; }
  float get_max_attenuation() override { return 15.0f; }
  bool is_channel_blocked(unsigned) override { return false; }
  unsigned get_channel_port(unsigned) override { return 1; }
  bool is_channel_plan_loaded() override { return true; }
  void block_channel(unsigned) override { unused(); }
  void unblock_channel(unsigned, float) override { unused(); }
  void add_channel(unsigned, unsigned, unsigned, const std::string&) override { unused(); }
  void remove_channel(unsigned) override { unused(); }
  void create_channel_plan(const std::string&) override { unused(); }
  void remove_all_channels() override { unused(); }

 private:
  static void unused() { ADD_FAILURE() << "called by a regulator"; }
};

template <class Control>
class regulated_channel : public testing::Test {
 protected:
  static constexpr unsigned id = 19600000;

  void put_in(const std::string& direction) {
    auto channel = control->get_channel();
    channel->set_id(id);
    channel->set_center_frequency(id);
    channel->set_width(5000);
    channel->set_direction(direction);
    channel->set_wss_port(7);
    channel->setup_api(tree);
    control->setup_channel_api(tree, channel->get_value_group());
  }

  void show(float attenuation, float power) {
    control->get_channel()->set_attenuation(attenuation);
    control->get_channel()->set_ocm_power(power);
  }

  nx_db tree;
  std::shared_ptr<Control> control = std::make_shared<Control>();
  std::shared_ptr<obedient_switch> wss = std::make_shared<obedient_switch>();
};

using orva_channel = regulated_channel<products::orva_control>;
using selka_channel = regulated_channel<products::selka_control>;

TEST_F(orva_channel, settles_until_monitor_and_switch_both_show_something_new) {
  put_in("rx");
  show(10.0f, -15.0f);
  ASSERT_TRUE(control->can_regulate(wss, -2.2f)) << "no step yet: the error alone decides";
  control->regulate(wss, -2.2f);
  EXPECT_FLOAT_EQ(wss->attenuation.at(id), 8.0f);
  EXPECT_FALSE(control->can_regulate(wss, -2.2f)) << "nothing has changed";
  show(10.0f, -13.0f);
  EXPECT_FALSE(control->can_regulate(wss, -1.0f)) << "the switch still shows the old value";
  show(8.0f, -15.0f);
  EXPECT_FALSE(control->can_regulate(wss, -1.0f)) << "the monitor still shows the old value";
  show(8.0f, -13.0f);
  EXPECT_TRUE(control->can_regulate(wss, -1.0f));
}

TEST_F(orva_channel, waits_for_a_new_reading_after_a_refused_step) {
  put_in("rx");
  show(10.0f, -15.0f);
  wss->failing = true;
  EXPECT_THROW(control->regulate(wss, -2.2f), nx_client_exception);
  wss->failing = false;
  EXPECT_FALSE(control->can_regulate(wss, -2.2f));
  show(10.0f, -15.1f);
  EXPECT_TRUE(control->can_regulate(wss, -2.2f))
      << "the attenuation needs no change: none was made";
}

TEST_F(orva_channel, stays_in_its_dead_band_and_in_the_range_of_the_switch) {
  put_in("rx");
  for (const auto& [attenuation, difference, possible] : {std::tuple{0.0f, 0.2f, false},
                                                          {0.0f, 0.21f, true},
                                                          {0.0f, -3.0f, false},
                                                          {15.0f, 3.0f, false},
                                                          {15.0f, -0.7f, false},
                                                          {15.0f, -0.71f, true},
                                                          {15.0f, -3.0f, true}}) {
    show(attenuation, -15.0f);
    control->reset_last_step();
    EXPECT_EQ(control->can_regulate(wss, difference), possible)
        << difference << " dB off at " << attenuation << " dB";
  }
  show(14.0f, -5.0f);
  control->regulate(wss, 9.0f);
  EXPECT_FLOAT_EQ(wss->attenuation.at(id), 15.0f);
}

TEST_F(orva_channel, obeys_the_operators_admin_status) {
  put_in("rx");
  show(10.0f, -15.0f);
  for (const auto& [status, up, down] :
       {std::tuple{"up", true, false}, {"down", false, true}, {"testing", false, false}}) {
    test::write_to(tree, "config/client/19600000/rx/adminStatus",
                   std::string("\"") + status + "\"");
    control->set_on_target(true);
    EXPECT_EQ(control->is_admin_up(), up) << status;
    EXPECT_EQ(control->is_admin_down(), down) << status;
    EXPECT_EQ(control->is_on_target(), up) << status;
    EXPECT_EQ(control->can_regulate(wss, -2.0f), !down) << status;
    EXPECT_EQ(test::text_of(tree, "data/client/19600000/rx/adminStatus"), status);
  }
}

TEST_F(orva_channel, parks_at_the_attenuation_that_the_operator_has_chosen) {
  put_in("tx");
  EXPECT_FLOAT_EQ(control->get_default_attenuation(), 5.0f);
  test::write_to(tree, "config/client/19600000/tx/defaultAttenuation", "3.5");
  EXPECT_FLOAT_EQ(control->get_default_attenuation(), 3.5f);
  EXPECT_FLOAT_EQ(test::number_of(tree, "data/client/19600000/tx/defaultAttenuation"), 3.5f);
  control->get_channel()->set_direction("sideways");
  EXPECT_THROW(control->get_default_attenuation(), nx_error);
  EXPECT_THROW(control->set_default_attenuation(1.0f), nx_error);
  EXPECT_THROW(control->get_channel()->update_power(), nx_error);
}

TEST_F(orva_channel, counts_new_readings_and_publishes_what_follows_from_them) {
  put_in("rx");
  auto channel = control->get_channel();
  show(6.0f, -20.0f);
  show(6.0f, -20.0f);
  EXPECT_EQ(channel->get_power_updates(), 1u);
  EXPECT_FLOAT_EQ(test::number_of(tree, "data/client/19600000/rx/power"), -14.0f);
  show(7.0f, -20.0f);
  EXPECT_FLOAT_EQ(test::number_of(tree, "data/client/19600000/rx/power"), -14.0f)
      << "only a new reading recomputes the power";
  EXPECT_THROW(show(7.0f, std::numeric_limits<float>::quiet_NaN()), nx_error);
  EXPECT_EQ(channel->get_power_updates(), 1u);
  channel->set_alarm(tree, "lossOfSignal", 1);
  channel->set_alarm(tree, "lossOfSignal", 0);
  EXPECT_FLOAT_EQ(test::number_of(tree, "alarms/client/19600000/rx/lossOfSignal/severity"), 0.0f);
}

TEST_F(orva_channel, power_at_the_client_is_worked_out_with_the_losses_of_its_direction) {
  test::load_board_file("cal_clientrx_to_mon -16\ncal_mon_to_clienttx -5\n");
  for (const auto& [direction, power] : {std::pair{"rx", 2.0f}, {"tx", -31.0f}}) {
    control = std::make_shared<products::orva_control>();
    put_in(direction);
    show(6.0f, -20.0f);
    EXPECT_FLOAT_EQ(
        test::number_of(tree, std::string("data/client/19600000/") + direction + "/power"), power);
  }
  calibration::instance().reset();
}

TEST_F(selka_channel, is_regulated_in_mode_power_alone) {
  put_in("rx");
  show(10.0f, -15.0f);
  EXPECT_EQ(control->get_optical_control_mode(), "n/a");
  EXPECT_FALSE(control->is_optical_control_mode_known());
  const std::string path = "config/client/19600000/rx/opticalControlMode";
  for (const auto& [mode, regulated, blocked] :
       {std::tuple{"off", false, true}, {"power", true, false}, {"gainLoss", false, false}}) {
    test::write_to(tree, path, std::string("\"") + mode + "\"");
    EXPECT_EQ(control->can_regulate(wss, -2.0f), regulated) << mode;
    EXPECT_EQ(control->is_admin_down(), blocked) << mode;
    EXPECT_EQ(test::text_of(tree, "data/client/19600000/rx/opticalControlMode"), mode);
  }
  EXPECT_THROW(test::write_to(tree, path, "\"n/a\""), nx_error);
  EXPECT_EQ(control->get_optical_control_mode(), "gainLoss");
  EXPECT_NE(tree.find("data/client/19600000/rx/lineTxPower"), nullptr);
}

}  // namespace
