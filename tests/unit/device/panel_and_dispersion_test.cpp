#include <gtest/gtest.h>

#include "access_table.h"
#include "device/hardware/optoswitch.h"
#include "device/hardware/selka_led.h"
#include "device/hardware/tdcm.h"
#include "tests/support/log_capture.h"

namespace {

using namespace device_test;
using namespace device::hardware;
using testing::ElementsAre;
using testing::StartsWith;

TEST(selka_led_test, paths) {
  using led = selka_led;
  const char* green = R"("green")";
  expect_reads<led>(
      maker<led>(),
      {{"data/configStatus", "true", [](led& d) { return text(d.is_operational()); }, "true"},
       {"data/xc/2/rxLed/status", green, [](led& d) { return d.get_xc_rx_led(2); }, "green"},
       {"data/xc/2/txLed/status", green, [](led& d) { return d.get_xc_tx_led(2); }, "green"},
       {"data/line/1/rxLed/status", green, [](led& d) { return d.get_line_rx_led(); }, "green"},
       {"data/line/1/txLed/status", green, [](led& d) { return d.get_line_tx_led(); }, "green"},
       {"data/client/9/rxLed/status", green, [](led& d) { return d.get_client_rx_led(9); },
        "green"},
       {"data/client/9/rxLed/status", green, [](led& d) { return d.get_client_rx_led_or_end(9); },
        "green"},
       {"data/client/9/txLed/status", green, [](led& d) { return d.get_client_tx_led(9); },
        "green"}});
  expect_writes<led>(maker<led>(), {{[](led& d) { d.set_xc_rx_led(2, "red"); },
                                     {R"(run command/xc/2/rxLed/status "red")"},
                                     "! -22 Failed to set xc rx led for xc number 2"},
                                    {[](led& d) { d.set_xc_tx_led(2, "red"); },
                                     {R"(run command/xc/2/txLed/status "red")"},
                                     "! -22 Failed to set xc tx led for xc number 2"},
                                    {[](led& d) { d.set_line_tx_led("red"); },
                                     {R"(run command/line/1/txLed/status "red")"},
                                     "! -22 Failed to set line tx led"},
                                    {[](led& d) { d.set_line_rx_led("red"); },
                                     {R"(run command/line/1/rxLed/status "red")"},
                                     "! -22 Failed to set line rx led"},
                                    {[](led& d) { d.set_client_rx_led(9, "red"); },
                                     {R"(run command/client/9/rxLed/status "red")"},
                                     "! -22 Failed to set awg rx led for awg number 9"},
                                    {[](led& d) { d.set_client_tx_led(9, "red"); },
                                     {R"(run command/client/9/txLed/status "red")"},
                                     "! -22 Failed to set awg tx led for awg number 9"}});
}

TEST(selka_led_test, panel_ends_where_the_nexel_knows_no_more_numbers) {
  nexel served;
  selka_led proxy(nullptr, nexel::address);
  EXPECT_EQ(proxy.get_client_rx_led_or_end(10), "end");
  served.set_state(nx::link_state::dead);
  EXPECT_THAT(failure_of([&] { proxy.get_client_rx_led_or_end(10); }), StartsWith("! -107 "))
      << "a dead panel has not ended";
}

TEST(optoswitch_test, path_selection_answers_with_a_number) {
  nexel served;
  served.command("command/pathselect", "1");
  EXPECT_EQ(optoswitch(nullptr, nexel::address).select_path(2), 1);
  EXPECT_THAT(served.take_accesses(), ElementsAre("run command/pathselect 2"));
}

struct tdcm_test : testing::Test {
  tdcm_test() {
    tdcm::forget_for_test();
    served.value("data/debug/tuningRangeMin", "-400");
    served.value("data/debug/tuningRangeMax", "300");
  }
  ~tdcm_test() override { tdcm::forget_for_test(); }

  nexel served;
  tdcm proxy{nullptr, nexel::address};
};

TEST_F(tdcm_test, range_is_read_once_for_the_whole_process) {
  EXPECT_EQ(proxy.get_max_dispersion(), 300.0f);
  served.value("data/debug/tuningRangeMax", "500");
  EXPECT_EQ(tdcm(nullptr, nexel::address).get_max_dispersion(), 300.0f);
  EXPECT_THAT(served.take_accesses(), ElementsAre("get data/debug/tuningRangeMax"));
  EXPECT_NE(failure_of([&] { proxy.get_partNumber(); }), "");
  served.value("inventory/partNumber", R"("late")");
  EXPECT_EQ(proxy.get_partNumber(), "late") << "a read that failed is made again";
}

TEST_F(tdcm_test, range_includes_its_ends) {
  const struct {
    float value;
    bool within;
    float clamped;
  } table[] = {{300.0f, true, 300.0f},
               {300.1f, false, 300.0f},
               {-400.0f, true, -400.0f},
               {-400.1f, false, -400.0f},
               {0.0f, true, 0.0f}};
  for (const auto& row : table) {
    EXPECT_EQ(failure_of([&] { proxy.check_dispersion(row.value); }),
              row.within ? ""
                         : "! -22 Dispersion compensation value is not within range (-400 to 300 "
                           "[ps/nm]).")
        << row.value;
    EXPECT_EQ(proxy.clamp_dispersion(row.value), row.clamped) << row.value;
  }
}

TEST_F(tdcm_test, one_model_is_limited_further) {
  const struct {
    const char* part_number;
    float value;
    bool enabled;
    float limited;
  } table[] = {{R"("TDCMX-C000-JC-BS08")", 200.0f, true, 180.0f},
               {R"("TDCMX-C000-JC-BS08")", -200.0f, true, -180.0f},
               {R"("TDCMX-C000-JC-BS08")", 179.0f, true, 179.0f},
               {R"("TDCMX-C000-JC-BS08")", 200.0f, false, 200.0f},
               {R"("TDCMX-C000-JC-BS09")", 200.0f, true, 200.0f}};
  for (const auto& row : table) {
    tdcm::forget_for_test();
    served.value("inventory/partNumber", row.part_number);
    EXPECT_EQ(proxy.limit_dispersion(row.value, row.enabled), row.limited)
        << row.part_number << " " << row.value;
  }
}

TEST_F(tdcm_test, setting_and_reading) {
  served.value("config/dispersion", "0");
  proxy.set_dispersion(120.5f);
  EXPECT_THAT(served.take_accesses(), ElementsAre("set config/dispersion 120.5"));
  served.value("data/currentDispersion", "118");
  EXPECT_EQ(proxy.get_dispersion(), 118.0f);

  served.remove("data/currentDispersion");
  const test::log_capture log;
  EXPECT_EQ(proxy.get_dispersion(), 0.0f);
  ASSERT_EQ(log.records().size(), 1u);
  const auto record = log.records().front();
  EXPECT_EQ(record.severity, note_log::error);
  EXPECT_EQ(record.channel, "get_dispersion");
  EXPECT_EQ(record.text, "Error getting dispersion: No such path: data/currentDispersion");
}

}  // namespace
