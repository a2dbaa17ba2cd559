// What the proxies do beyond single reads and writes: subscriptions, retries, limits, memory and
// refusals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "device/cycle_reads.h"
#include "device/hardware/edfa.h"
#include "device/hardware/selka_ocm.h"
#include "device/hardware/sfp.h"
#include "device/hardware/tdcm.h"
#include "device/hardware/twin_wss.h"
#include "device/hardware/voa.h"
#include "helpers/logger.h"
#include "tests/support/log_capture.h"
#include "tests/support/memory_store.h"
#include "tests/unit/device/nexel.h"

namespace {

using namespace device_test;
using namespace device::hardware;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr unsigned channel = 19600000;

TEST(edfa_test, gains_are_subscribed_as_a_whole) {
  nexel served;
  edfa proxy(nullptr, nexel::address);
  EXPECT_EQ(failure_of([&] { proxy.get_gain(); }), "! -2 No such path: data/gain");
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
  served.set_state(nx::link_state::dead);
  EXPECT_THAT(failure_of([&] { proxy.enable(); }), StartsWith("! -107 "));
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

TEST(voa_test, attenuation_is_tried_twice_and_never_fails) {
  const std::string write = "set config/attenuation 5";
  const auto failure = testing::AllOf(StartsWith("nx_client_exception, function virtual void "
                                                 "device::hardware::voa::set_attenuation(float), "),
                                      HasSubstr(": Refused"));
  const std::string retry = "VOA device rejected the first attenuation setting, retrying.";
  nexel served;
  served.value("config/attenuation", "0");
  voa proxy(nullptr, nexel::address);
  for (const unsigned refusals : {1u, 2u}) {
    served.refuse(refusals);
    const test::log_capture log;
    proxy.set_attenuation(5.0f);
    EXPECT_THAT(served.take_accesses(), ElementsAre(write, write));
    if (refusals == 1) {
      EXPECT_THAT(log.texts(), ElementsAre(failure, retry));
    } else {
      EXPECT_THAT(log.texts(), ElementsAre(failure, retry, failure));
    }
  }
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

TEST_F(tdcm_test, range_includes_its_ends_and_one_model_is_limited_further) {
  const std::string refusal =
      "! -22 Dispersion compensation value is not within range (-400 to 300 [ps/nm]).";
  const std::tuple<float, bool, float> range[] = {{300.0f, true, 300.0f},
                                                  {300.1f, false, 300.0f},
                                                  {-400.0f, true, -400.0f},
                                                  {-400.1f, false, -400.0f}};
  for (const auto& [value, within, clamped] : range) {
    EXPECT_EQ(failure_of([&, value = value] { proxy.check_dispersion(value); }),
              within ? "" : refusal)
        << value;
    EXPECT_EQ(proxy.clamp_dispersion(value), clamped) << value;
  }
  const std::tuple<const char*, float, bool, float> limits[] = {
      {R"("TDCMX-C000-JC-BS08")", 200.0f, true, 180.0f},
      {R"("TDCMX-C000-JC-BS08")", -200.0f, true, -180.0f},
      {R"("TDCMX-C000-JC-BS08")", 179.0f, true, 179.0f},
      {R"("TDCMX-C000-JC-BS08")", 200.0f, false, 200.0f},
      {R"("TDCMX-C000-JC-BS09")", 200.0f, true, 200.0f}};
  for (const auto& [part_number, value, enabled, limited] : limits) {
    tdcm::forget_for_test();
    served.value("inventory/partNumber", part_number);
    EXPECT_EQ(proxy.limit_dispersion(value, enabled), limited) << part_number << " " << value;
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
  EXPECT_THAT(log.texts(), ElementsAre("Error getting dispersion: No such path: "
                                       "data/currentDispersion"));
}

TEST(twin_wss_test, attenuation_goes_through_the_store) {
  const test::memory_store store;
  nexel served;
  served.value("data/module/add/channel/19600000/attenuation", "3.5");
  twin_wss proxy(nullptr, nexel::address, 0);
  proxy.set_attenuation(channel, 12.2f);
  EXPECT_EQ(store.attenuation("add", channel), "12.2");
  EXPECT_EQ(store.attenuation("drop", channel), "");
  EXPECT_THAT(served.take_accesses(), IsEmpty());
  proxy.block_channel(channel);
  EXPECT_EQ(store.attenuation("add", channel), "100");
  EXPECT_EQ(proxy.get_attenuation(channel), 3.5f) << "what the switch reports, not what was asked";
  proxy.unblock_channel(channel, 15.0f);
  EXPECT_EQ(store.attenuation("add", channel), "15");
  {
    std::vector<device::read_wish> wishes;
    proxy.declare_channel_reads(channel, false, wishes);
    device::cycle_reads reads;
    const device::cycle_reads::scope cycle(reads);
    reads.fetch(wishes);
    served.value("data/module/add/channel/19600000/attenuation", "15");
    EXPECT_EQ(proxy.get_attenuation(channel), 3.5f) << "read once in a cycle";
    proxy.set_attenuation(channel, 15.0f);
    EXPECT_EQ(proxy.get_attenuation(channel), 15.0f) << "but not from before a write";
  }

  kvs_memory::set_available(false);
  EXPECT_EQ(failure_of([&] { proxy.set_attenuation(channel, 1.0f); }), "! -5 Redis not connected.");
  EXPECT_EQ(proxy.get_written_attenuation(channel), 15.0f);
  EXPECT_EQ(failure_of([&] { proxy.remove_channel(channel); }), "! -5 Redis not connected.")
      << "no command goes out for a channel that could not be blocked";
}

/// Both selka devices ask for their plan on every second call, and know a channel by one path.
template <class Device>
void expect_plan_and_channels(const std::string& below, const char* of_channel, const char* json,
                              unsigned index) {
  nexel served;
  served.value(below + "channelPlanLoaded", "false");
  Device proxy(nullptr, nexel::address, index);
  for (const bool operational : {false, true, false})
    EXPECT_EQ(proxy.is_operational(), operational);
  EXPECT_EQ(served.take_accesses().size(), 2u);
  served.value(below + "channelPlanLoaded", "true");
  EXPECT_TRUE(proxy.is_operational());
  EXPECT_TRUE(proxy.is_operational());

  EXPECT_FALSE(proxy.has_channel(channel));
  served.value(below + "channel/19600000/" + of_channel, json);
  EXPECT_TRUE(proxy.has_channel(channel));
  served.set_state(nx::link_state::dead);
  EXPECT_FALSE(proxy.has_channel(channel));
}

TEST(selka_devices_test, ask_for_their_plan_on_every_second_call_and_know_its_channels) {
  expect_plan_and_channels<twin_wss>("data/module/drop/", "attenuation", "3.5", 1);
  expect_plan_and_channels<selka_ocm>("data/port/4/", "peak", "false", 4);
}

}  // namespace
