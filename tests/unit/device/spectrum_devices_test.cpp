#include <gtest/gtest.h>

#include "access_table.h"
#include "device/hardware/selka_ocm.h"
#include "device/hardware/twin_wss.h"
#include "device/hardware/wss_edge.h"
#include "helpers/redis.h"
#include "platform/kvs_client/kvs_client.h"
#include "tests/support/environment.h"

namespace {

using namespace device_test;
using namespace device::hardware;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned channel = 19600000;
constexpr const char* not_implemented = "! -22 Not implemented";

struct twin_wss_test : testing::Test {
  twin_wss_test() {
    kvs_memory::clear();
    kvs_memory::set("{d}:qz:status", "ok");
    kvs_memory::set("{c}:qz:mounts", "/mnt/qz");
    redis::instance().reset_for_test();
  }
  ~twin_wss_test() override {
    kvs_memory::set_available(true);
    redis::instance().reset_for_test();
  }

  static std::string stored(const std::string& side) {
    return kvs_memory::get("{c}:nx/wss:config/module/" + side + "/channel/19600000/attenuation");
  }

  const test::environment_variable url{"KVS_URL", "memory:"};
  const test::environment_variable configuration_tag{"REDIS_CONF_HASH_TAG", "{c}"};
  const test::environment_variable data_tag{"REDIS_DATA_HASH_TAG", "{d}"};
};

TEST_F(twin_wss_test, paths) {
  expect_reads<twin_wss>(
      maker<twin_wss>(1u),
      {{"data/module/drop/channel/19600000/attenuation", "7.5",
        [](twin_wss& d) { return text(d.get_attenuation(channel)); }, "7.5"},
       {"data/module/drop/channel/19600000/attenuation", "50",
        [](twin_wss& d) { return text(d.is_channel_blocked(channel)); }, "false"},
       {"data/module/drop/channel/19600000/attenuation", "50.1",
        [](twin_wss& d) { return text(d.is_channel_blocked(channel)); }, "true"},
       {"config/module/drop/channel/19600000/port", "3",
        [](twin_wss& d) { return text(d.get_channel_port(channel)); }, "3"},
       {"data/module/drop/channelPlanLoaded", "true",
        [](twin_wss& d) { return text(d.is_channel_plan_loaded()); }, "true"}});
  expect_writes<twin_wss>(
      maker<twin_wss>(2u),  // the lowest bit alone tells the side
      {{[](twin_wss& d) { d.add_channel(channel, 5000, 3, "R7"); },
        {R"(run command/module/add/addChannel "{\"center_frequency\":19600000,\"width\":5000,)"
         R"(\"port\":3,\"version\":\"R7\"}")"},
        "! -5 Failed to add WSS channel."},
       {[](twin_wss& d) { d.remove_channel(channel); },
        {R"(run command/module/add/removeChannel "{\"center_frequency\":19600000}")"},
        "! -5 Failed to remove WSS channel."},
       {[](twin_wss& d) { d.create_channel_plan("[{}]"); },
        {R"(run command/module/add/addChannels "[{}]")"},
        "! -5 Failed to add WSS channel plan."},
       {[](twin_wss& d) { d.remove_all_channels(); },
        {"run command/module/add/removeAllChannels true"},
        "! -5 Failed to remove all WSS channels."}});
  EXPECT_EQ(stored("add"), "100") << "a channel is dark before it is removed";
}

TEST_F(twin_wss_test, attenuation_goes_through_the_store) {
  nexel served;
  served.value("data/module/add/channel/19600000/attenuation", "3.5");
  twin_wss proxy(nullptr, nexel::address, 0);
  proxy.set_attenuation(channel, 12.2f);
  EXPECT_EQ(stored("add"), "12.2");
  EXPECT_EQ(stored("drop"), "");
  EXPECT_THAT(served.take_accesses(), IsEmpty());
  proxy.block_channel(channel);
  EXPECT_EQ(stored("add"), "100");
  EXPECT_EQ(proxy.get_attenuation(channel), 3.5f) << "what the switch reports, not what was asked";
  proxy.unblock_channel(channel, 15.0f);
  EXPECT_EQ(stored("add"), "15");

  kvs_memory::set_available(false);
  EXPECT_EQ(failure_of([&] { proxy.set_attenuation(channel, 1.0f); }), "! -5 Redis not connected.");
  EXPECT_EQ(proxy.get_written_attenuation(channel), 15.0f);
  EXPECT_EQ(failure_of([&] { proxy.remove_channel(channel); }), "! -5 Redis not connected.")
      << "no command goes out for a channel that could not be blocked";
}

/// Both selka devices ask for their plan on every second call.
template <class Device>
void expect_every_second_call_asks(const char* path, unsigned index) {
  nexel served;
  served.value(path, "false");
  Device proxy(nullptr, nexel::address, index);
  EXPECT_FALSE(proxy.is_operational());
  EXPECT_TRUE(proxy.is_operational());
  EXPECT_FALSE(proxy.is_operational());
  EXPECT_EQ(served.take_accesses().size(), 2u);
  served.value(path, "true");
  EXPECT_TRUE(proxy.is_operational());
  EXPECT_TRUE(proxy.is_operational());
}

TEST_F(twin_wss_test, plan_is_asked_for_on_every_second_call) {
  expect_every_second_call_asks<twin_wss>("data/module/drop/channelPlanLoaded", 1);
  expect_every_second_call_asks<selka_ocm>("data/port/4/channelPlanLoaded", 4);
}

TEST_F(twin_wss_test, channels_that_the_nexel_knows) {
  nexel served;
  twin_wss wss(nullptr, nexel::address, 0);
  selka_ocm ocm(nullptr, nexel::address, 4);
  EXPECT_FALSE(wss.has_channel(channel));
  EXPECT_FALSE(ocm.has_channel(channel));
  served.value("data/module/add/channel/19600000/attenuation", "3.5");
  served.value("data/port/4/channel/19600000/peak", "false");
  EXPECT_TRUE(wss.has_channel(channel));
  EXPECT_TRUE(ocm.has_channel(channel));
  served.set_state(nx::link_state::dead);
  EXPECT_FALSE(wss.has_channel(channel));
}

TEST(selka_ocm_test, paths) {
  expect_reads<selka_ocm>(maker<selka_ocm>(4u),
                          {{"data/port/4/totalPower", "-1.5",
                            [](selka_ocm& d) { return text(d.get_total_power()); }, "-1.5"}});
  expect_writes<selka_ocm>(
      maker<selka_ocm>(4u),
      {{[](selka_ocm& d) { d.add_channel(channel, 5000); },
        {R"(run command/port/4/system/createChannel )"
         R"("{\"center_frequency\":19600000,\"width\":5000}")"},
        "! -5 Failed to add OCM channel."},
       {[](selka_ocm& d) { d.remove_channel(channel); },
        {R"(run command/port/4/system/deleteChannel "{\"center_frequency\":19600000}")"},
        "! -5 Failed to remove WSS channel."},
       {[](selka_ocm& d) { d.create_channel_plan("[]"); },
        {R"(run command/port/4/system/createChannelPlan "[]")"},
        "! -5 Failed to create OCM channel plan."},
       {[](selka_ocm& d) { d.remove_all_channels(); },
        {"run command/port/4/system/deleteChannelPlan true"},
        "! -5 Failed to remove all OCM channels."}});
}

TEST(selka_ocm_test, channel_readings_come_by_subscription) {
  nexel served;
  selka_ocm proxy(nullptr, nexel::address, 4);
  served.value("data/port/4/channel/19600000/peak", "true");
  served.value("data/port/4/channel/19600000/power", "-17.5");
  EXPECT_EQ(failure_of([&] { proxy.get_channel_power(channel); }),
            "! -22 No value for path: data/port/4/channel/19600000/power");
  proxy.subscribe_channel(channel);
  EXPECT_TRUE(proxy.is_channel_detected(channel));
  served.value("data/port/4/channel/19600000/power", "-18");
  EXPECT_EQ(proxy.get_channel_power(channel), -18.0f);
  EXPECT_THAT(served.take_accesses(), IsEmpty()) << "the loops read without a round trip";
  proxy.unsubscribe_channel(channel);
  served.value("data/port/4/channel/19600000/power", "-19");
  EXPECT_EQ(proxy.get_channel_power(channel), -18.0f);
}

TEST(wss_edge_test, paths) {
  expect_reads<wss_edge>(
      maker<wss_edge>(2u),
      {{"data/moduleStatus", R"("operational")",
        [](wss_edge& d) { return text(d.is_operational()); }, "true"},
       {"data/moduleStatus", R"("starting")", [](wss_edge& d) { return text(d.is_operational()); },
        "false"},
       {"data/wss/2/channel/19600000/port", R"("off")",
        [](wss_edge& d) { return text(d.is_channel_blocked(channel)); }, "true"},
       {"data/wss/2/channel/19600000/port", R"("on")",
        [](wss_edge& d) { return text(d.is_channel_blocked(channel)); }, "false"}});
  expect_writes<wss_edge>(maker<wss_edge>(2u),
                          {{[](wss_edge& d) { d.set_attenuation(channel, 7.5f); },
                            {"set config/wss/2/channel/19600000/attenuation 7.5"}},
                           {[](wss_edge& d) { d.block_channel(channel); },
                            {R"(set config/wss/2/channel/19600000/port "off")"}},
                           {[](wss_edge& d) { d.unblock_channel(channel, 15.0f); },
                            {R"(set config/wss/2/channel/19600000/port "on")",
                             "set config/wss/2/channel/19600000/attenuation 15"}},
                           {[](wss_edge& d) { d.set_channel_detect_level(-30.0f); },
                            {"set config/ocm/2/channelDetectLevel -30"}}});
}

TEST(wss_edge_test, is_switch_and_monitor_in_one_object) {
  nexel served;
  const auto module = std::make_shared<wss_edge>(nullptr, nexel::address, 2);
  const std::shared_ptr<device::interfaces::wss> wss = module;
  const std::shared_ptr<device::interfaces::ocm> ocm = module;
  EXPECT_EQ(std::shared_ptr<device::interface>(wss), std::shared_ptr<device::interface>(ocm));

  served.value("data/ocm/2/totalPower", "3.5");
  served.value("data/ocm/2/channel/19600000/detected", "true");
  served.value("data/ocm/2/channel/19600000/powerLevel", "-12");
  served.value("data/ocm/2/channel/19600000/detectLevel", "-35");
  served.value("data/wss/2/channel/19600000/attenuation", "6.5");
  EXPECT_EQ(failure_of([&] { wss->get_attenuation(channel); }),
            "! -22 No value for path: data/wss/2/channel/19600000/attenuation");
  ocm->subscribe();
  ocm->subscribe_channel(channel);
  EXPECT_EQ(ocm->get_total_power(), 3.5f);
  EXPECT_TRUE(ocm->is_channel_detected(channel));
  EXPECT_EQ(ocm->get_channel_power(channel), -12.0f);
  EXPECT_EQ(ocm->get_channel_detect_level(channel), -35.0f);
  EXPECT_EQ(wss->get_attenuation(channel), 6.5f) << "one subscription serves both views";
  EXPECT_THAT(served.take_accesses(), IsEmpty());
  EXPECT_TRUE(wss->is_channel_plan_loaded());
  EXPECT_EQ(wss->get_max_attenuation(), 15.0f);

  EXPECT_EQ(failure_of([&] { wss->add_channel(channel, 5000, 1, ""); }), not_implemented);
  EXPECT_EQ(failure_of([&] { ocm->add_channel(channel, 5000); }), not_implemented);
  EXPECT_EQ(failure_of([&] { wss->remove_channel(channel); }), not_implemented);
  EXPECT_EQ(failure_of([&] { ocm->has_channel(channel); }), not_implemented);
}

TEST(wss_edge_test, subscriptions_of_a_lost_nexel_are_repaired_from_outside) {
  nexel served;
  wss_edge proxy(nullptr, nexel::address, 2);
  served.value("data/ocm/2/channel/19600000/detected", "true");
  served.value("data/ocm/2/channel/19600000/powerLevel", "-12");
  served.value("data/ocm/2/channel/19600000/detectLevel", "-35");
  served.value("data/wss/2/channel/19600000/attenuation", "6.5");
  proxy.subscribe_channel(channel);
  const auto subscriber = *proxy.get_subscriber();
  EXPECT_TRUE(subscriber->is_operational());

  served.set_state(nx::link_state::dead);
  EXPECT_FALSE(subscriber->is_operational());
  served.set_state(nx::link_state::up);
  served.value("data/ocm/2/channel/19600000/powerLevel", "-14");
  EXPECT_EQ(proxy.get_channel_power(channel), -14.0f);
  EXPECT_FALSE(subscriber->is_operational()) << "values do not repair it";
  proxy.subscribe_channel(channel);
  EXPECT_TRUE(subscriber->is_operational());
  served.value("data/ocm/2/channel/19600000/powerLevel", "-15");
  EXPECT_EQ(proxy.get_channel_power(channel), -15.0f);
}

}  // namespace
