#include <gtest/gtest.h>

#include "access_table.h"
#include "device/hardware/edfa.h"
#include "device/hardware/osc.h"
#include "device/hardware/sfp.h"
#include "device/hardware/voa.h"
#include "device/system.h"
#include "helpers/logger.h"
#include "tests/support/log_capture.h"

namespace {

using namespace device_test;
using namespace device::hardware;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(edfa_test, paths) {
  expect_reads<edfa>(
      maker<edfa>(),
      {{"data/enable", "true", [](edfa& d) { return text(d.is_enabled()); }, "true"},
       {"data/rxPower", "-12.5", [](edfa& d) { return text(d.get_rx_power()); }, "-12.5"},
       {"data/txPower", "17.5", [](edfa& d) { return text(d.get_tx_power()); }, "17.5"},
       {"data/powerLimit", "20", [](edfa& d) { return text(d.get_power_limit()); }, "20"},
       {"data/gain", "21.5", [](edfa& d) { return text(d.get_gain()); }, "21.5"},
       {"data/gainMinThreshold", "8", [](edfa& d) { return text(d.get_min_gain()); }, "8"},
       {"data/gainMaxThreshold", "28", [](edfa& d) { return text(d.get_max_gain()); }, "28"},
       {"data/gainDefault", "18", [](edfa& d) { return text(d.get_default_gain()); }, "18"},
       {"alarms/lossOfSignal/severity", "0", [](edfa& d) { return text(d.has_los()); }, "false"},
       {"alarms/lossOfSignal/severity", "2", [](edfa& d) { return text(d.has_los()); }, "true"}});
  expect_writes<edfa>(maker<edfa>(),
                      {{[](edfa& d) { d.enable(); }, {"set config/enable true"}},
                       {[](edfa& d) { d.disable(); }, {"set config/enable false"}},
                       {[](edfa& d) { d.set_gain(18.2f); }, {"set config/gain 18.2"}}});
}

TEST(edfa_test, saturation_is_the_gain_that_is_missing) {
  const struct {
    const char *gain, *actual;
    float saturation;
  } table[] = {{"20", "18", 2.0f}, {"18", "20", 0.0f}, {"18", "18", 0.0f}};
  for (const auto& row : table) {
    nexel served;
    served.value("data/gain", row.gain);
    served.value("data/actualGain", row.actual);
    EXPECT_EQ(edfa(nullptr, nexel::address).get_saturation(), row.saturation)
        << row.gain << " " << row.actual;
  }
}

TEST(edfa_test, gains_are_subscribed_as_a_whole) {
  nexel served;
  edfa proxy(nullptr, nexel::address);
  served.value("data/gain", "20");
  served.value("data/actualGain", "18");
  proxy.subscribe();
  const auto subscriber = *proxy.get_subscriber();
  served.value("data/actualGain", "19");
  EXPECT_EQ(subscriber->get<float>("data/gain"), 20.0f);
  EXPECT_EQ(subscriber->get<float>("data/actualGain"), 19.0f);
  proxy.unsubscribe();
  served.value("data/actualGain", "20");
  EXPECT_EQ(subscriber->get<float>("data/actualGain"), 19.0f);
  EXPECT_FALSE(proxy.has_channel(1));
  EXPECT_EQ(failure_of([&] { proxy.get_channel_subscribe_count(); }),
            "! -22 Subscription not implemented for virtual unsigned int "
            "device::hardware::edfa::get_channel_subscribe_count()");
}

TEST(sfp_test, paths) {
  expect_reads<sfp>(
      maker<sfp>(),
      {{"present", "true", [](sfp& d) { return text(d.is_operational()); }, "true"},
       {"data/rxPower", "-20", [](sfp& d) { return text(d.get_rx_power()); }, "-20"},
       {"data/txPower", "1.5", [](sfp& d) { return text(d.get_tx_power()); }, "1.5"},
       {"data/operStatus", R"("up")", [](sfp& d) { return d.get_oper_status(); }, "up"},
       // An absent module has lost its light; nothing more is asked of it.
       {"present", "false", [](sfp& d) { return text(d.has_los()); }, "true"}});
}

TEST(sfp_test, present_module_tells_of_its_light) {
  nexel served;
  served.value("present", "true");
  sfp proxy(nullptr, nexel::address);
  for (const auto& [severity, lost] : {std::pair("0", false), std::pair("1", true)}) {
    served.value("alarms/lossOfSignal/severity", severity);
    EXPECT_EQ(proxy.has_los(), lost) << severity;
  }
}

TEST(osc_test, paths) {
  expect_reads<osc>(
      maker<osc>(),
      {{"data/debug/state", R"("ready")", [](osc& d) { return text(d.is_operational()); }, "true"},
       {"data/debug/state", R"("init")", [](osc& d) { return text(d.is_operational()); }, "false"},
       {"data/fiberLength", "81.5", [](osc& d) { return text(d.get_fiber_length()); }, "81.5"},
       {"data/fiberDispersion", "1360", [](osc& d) { return text(d.get_fiber_dispersion()); },
        "1360"},
       {"data/neighbour", R"("fe80::2")", [](osc& d) { return d.get_neighbour(); }, "fe80::2"},
       {"alarms/lossOfLink/severity", "3", [](osc& d) { return text(d.has_loss_of_link()); },
        "true"}});
}

TEST(system_test, paths) {
  using device::system::info;
  using device::system::start;
  expect_reads<info>(
      maker<info>(),
      {{"inventory/partNumber", R"("P1")", [](info& d) { return d.get_part_number(); }, "P1"},
       {"data/swVersion", R"("R7")", [](info& d) { return d.get_sw_version(); }, "R7"},
       {"inventory/hwRevision", R"("B")", [](info& d) { return d.get_hw_revision(); }, "B"}});
  expect_reads<start>(maker<start>(),
                      {{"data/systemColdstart", "true",
                        [](start& d) { return text(d.is_system_coldstart()); }, "true"}});
}

TEST(voa_test, paths) {
  expect_reads<voa>(
      maker<voa>(),
      {{"data/operStatus", R"("up")", [](voa& d) { return text(d.is_operational()); }, "true"},
       {"data/operStatus", R"("down")", [](voa& d) { return text(d.is_operational()); }, "false"},
       {"data/attenuation", "7.5", [](voa& d) { return text(d.get_attenuation()); }, "7.5"},
       {"data/insertionLoss", "1.2", [](voa& d) { return text(d.get_insertion_loss()); }, "1.2"}});
  expect_writes<voa>(maker<voa>(),
                     {{[](voa& d) { d.set_attenuation(5.1f); }, {"set config/attenuation 5.1"}}});
}

TEST(voa_test, attenuation_is_tried_twice_and_never_fails) {
  const std::string write = "set config/attenuation 5";
  const std::string first_failure =
      "nx_client_exception, function virtual void device::hardware::voa::set_attenuation(float), "
      "line ";
  const std::string retry = "VOA device rejected the first attenuation setting, retrying.";
  nexel served;
  served.value("config/attenuation", "0");
  voa proxy(nullptr, nexel::address);

  served.refuse(1);
  {
    const test::log_capture log;
    proxy.set_attenuation(5.0f);
    EXPECT_THAT(served.take_accesses(), ElementsAre(write, write));
    EXPECT_THAT(
        log.texts(),
        ElementsAre(testing::AllOf(StartsWith(first_failure), HasSubstr(": Refused")), retry));
  }
  served.refuse(2);
  {
    const test::log_capture log;
    proxy.set_attenuation(5.0f);
    EXPECT_THAT(served.take_accesses(), ElementsAre(write, write));
    EXPECT_THAT(log.texts(),
                ElementsAre(StartsWith(first_failure), retry, StartsWith(first_failure)));
  }
}

TEST(without_subscriptions_test, refuses_by_the_name_of_the_operation) {
  const nexel served;
  voa proxy(nullptr, nexel::address);
  EXPECT_FALSE(proxy.has_subscriber());
  EXPECT_FALSE(proxy.get_subscriber());
  proxy.unsubscribe();
  proxy.unsubscribe_channel(1);
  const std::string refusal = "! -22 Subscription not implemented for virtual ";
  EXPECT_EQ(failure_of([&] { proxy.subscribe(); }),
            refusal + "void device::hardware::voa::subscribe()");
  EXPECT_EQ(failure_of([&] { proxy.subscribe_channel(1); }),
            refusal + "void device::hardware::voa::subscribe_channel(unsigned int)");
  EXPECT_EQ(failure_of([&] { proxy.get_channel_subscribe_count(); }),
            refusal + "unsigned int device::hardware::voa::get_channel_subscribe_count()");
  EXPECT_EQ(failure_of([&] { proxy.has_channel(1); }), "! -22 Not implemented");
  EXPECT_EQ(failure_of([&] { osc(nullptr, nexel::address).subscribe(); }),
            refusal + "void device::hardware::osc::subscribe()");
}

TEST(device_failure_test, unknown_path_and_dead_nexel_reach_the_caller) {
  nexel served;
  edfa proxy(nullptr, nexel::address);
  EXPECT_EQ(failure_of([&] { proxy.get_gain(); }), "! -2 No such path: data/gain");
  served.set_state(nx::link_state::dead);
  EXPECT_THAT(failure_of([&] { proxy.get_gain(); }), StartsWith("! -107 "));
  EXPECT_THAT(failure_of([&] { proxy.enable(); }), StartsWith("! -107 "));
}

}  // namespace
