// Devices that lie, freeze or lose commands: what a client sees of each fault, by reading and by
// subscription, and that nothing of it remains when the fault has ended.
#include "sim/faults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "platform/in_process/network.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/value_tree/nx_db.h"
#include "sim/plant.h"
#include "tests/support/failure.h"
#include "tests/support/recording_session.h"
#include "tests/support/tree_values.h"

namespace {

using namespace sim;
using namespace std::chrono_literals;
using test::failure_of;
using test::number_of;
using test::run_at;
using test::shown_at;
using test::write_to;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::SizeIs;

constexpr unsigned channel = 19140000;
const std::string power = "data/ocm/1/channel/19140000/powerLevel";
const std::string neighbour_power = "data/ocm/1/channel/19155000/powerLevel";
const std::string attenuation = "data/wss/1/channel/19140000/attenuation";
const std::string wanted_attenuation = "config/wss/1/channel/19140000/attenuation";

class faults : public testing::Test {
 protected:
  faults() { one.step(5s); }

  std::string shown(const std::string& path) { return shown_at(edge, path); }
  double number(const std::string& path) { return number_of(edge, path); }
  std::string events() { return testing::PrintToString(session->take()); }
  double true_attenuation_db() { return one.switch_attenuation_db(0, direction::rx, channel); }

  plant one{default_topology("orvalite")};
  nx_db& edge = one.nexel_tree("wss_edge");
  std::shared_ptr<test::recording_session> session = std::make_shared<test::recording_session>();
};

TEST_F(faults, a_replaced_reading_lies_to_readers_and_subscribers_alike_and_ends) {
  const double true_reading = number(power);
  test::subscribe_to(edge, power, session);
  session->take();
  for (const char* lie : {"-99", "1e+30", "\"text\""}) {
    one.set_reading_fault(0, "wss_edge", power, reading_fault::replaced(lie), 3s);
    EXPECT_EQ(test::subscribe_to(edge, power, session), lie) << "newcomers";
    EXPECT_THAT(session->take(), ElementsAre(power + " = " + lie, "first " + power + " = " + lie))
        << "at once, without a pass";
    one.step(2900ms);
    EXPECT_EQ(shown(power), lie);
    EXPECT_THAT(session->take(), SizeIs(0)) << "the truth moves behind it";
    one.step(100ms);
    EXPECT_NEAR(number(power), true_reading, 0.5);
    EXPECT_THAT(session->take(), SizeIs(Ge(1U)));
  }
  EXPECT_EQ(failure_of([&] {
              one.set_reading_fault(0, "wss_edge", power, reading_fault::replaced("-9 9"));
            }).substr(0, 8),
            "! -32700");
}

TEST_F(faults, a_frozen_reading_stands_still_with_and_without_noise_on_it) {
  const double before = number(power);
  one.set_reading_fault(0, "wss_edge", "data/ocm/1/channel/*/powerLevel",
                        reading_fault::frozen(0.1));
  one.set_reading_fault(0, "wss_edge", neighbour_power, reading_fault::frozen());
  const std::string neighbour_before = shown(neighbour_power);
  one.change_laser(0, channel, [](laser_settings& laser) { laser.power_dbm -= 6.0; });
  std::set<std::string> seen;
  for (int i = 0; i < 20; ++i) {
    one.step(1s);
    seen.insert(shown(power));
    EXPECT_NEAR(number(power), before, 0.5);
    EXPECT_EQ(shown(neighbour_power), neighbour_before);
  }
  EXPECT_THAT(seen, SizeIs(Ge(15U))) << "noise like that of fresh readings";
  one.heal_readings(0, "wss_edge", power);
  EXPECT_NEAR(number(power), before, 0.5) << "that pattern has no fault of its own";
  one.heal_readings(0, "wss_edge", "data/ocm/**");
  EXPECT_NEAR(number(power), before - 6.0, 0.5);
}

TEST_F(faults, a_failed_reading_answers_errors_and_a_missing_one_takes_no_subscription) {
  test::subscribe_to(edge, power, session);
  session->take();
  one.set_reading_fault(0, "wss_edge", power, reading_fault::failed());
  EXPECT_EQ(shown(power), "! -5 Refused by the device");
  EXPECT_EQ(test::subscribe_to(edge, power, session),
            R"({"error":{"code":-5,"message":"Refused by the device"}})");
  EXPECT_THAT(session->take(), ElementsAre(power + " ! -5 Refused by the device",
                                           "first " + power + " ! -5 Refused by the device"));
  EXPECT_NE(shown(neighbour_power).front(), '!') << "alone";
  one.heal_readings(0, "wss_edge");
  EXPECT_THAT(session->take(), ElementsAre(HasSubstr(power + " = -")));

  one.set_reading_fault(0, "wss_edge", power, reading_fault::missing());
  EXPECT_EQ(test::subscribe_to(edge, power, session), "! -2 No such path: " + power);
  EXPECT_EQ(shown(power), "! -2 No such path: " + power);
}

TEST_F(faults, read_backs_tremble_come_in_steps_or_stand_while_the_light_moves) {
  write_to(edge, wanted_attenuation, "6.1");
  one.step(1s);
  one.set_reading_fault(0, "wss_edge", attenuation, reading_fault::trembling(0.02));
  std::vector<double> offsets;
  for (int i = 0; i < 4; ++i) {
    offsets.push_back(std::round(100.0 * (number(attenuation) - 6.1)));
    one.step(1s);
  }
  EXPECT_THAT(offsets, ElementsAre(2, -2, 2, -2));
  one.heal_readings(0, "wss_edge");
  EXPECT_EQ(shown(attenuation), "6.1");

  one.set_reading_fault(0, "wss_edge", attenuation, reading_fault::stepped(0.25));
  EXPECT_EQ(shown(attenuation), "6");
  write_to(edge, wanted_attenuation, "6.2");
  one.step(1s);
  EXPECT_EQ(shown(attenuation), "6.25");
  EXPECT_NEAR(true_attenuation_db(), 6.2, 0.051);
  one.set_reading_fault(0, "wss_edge", attenuation, reading_fault::frozen());
  write_to(edge, wanted_attenuation, "9.0");
  one.step(1s);
  EXPECT_EQ(shown(attenuation), "6.2") << "the read-back does not move";
  EXPECT_NEAR(true_attenuation_db(), 9.0, 0.051) << "the light does";
}

TEST_F(faults, after_a_restart_readings_are_those_of_before_for_a_while) {
  one.set_stale_after_restart(0, "wss_edge", 20s);
  const std::string before = shown(power);
  one.set_nexel_state(0, "wss_edge", nexel_state::killed);
  one.change_laser(0, channel, [](laser_settings& laser) { laser.power_dbm -= 6.0; });
  one.step(30s);
  one.set_nexel_state(0, "wss_edge", nexel_state::ok);
  one.step(19900ms);
  EXPECT_EQ(shown(power), before);
  one.step(100ms);
  EXPECT_NEAR(number(power), std::stod(before) - 6.0, 0.5);
}

TEST_F(faults, writes_are_lost_late_or_refused_on_the_paths_that_the_fault_names) {
  const std::string all = "config/wss/1/channel/*/attenuation";
  one.set_write_fault(0, "wss_edge", all, write_fault::lost().each(3));
  const double start_db = true_attenuation_db();
  for (const char* wanted : {"6", "7", "8"}) {
    write_to(edge, wanted_attenuation, wanted);
    one.step(1s);
  }
  EXPECT_NE(start_db, 7.0);
  EXPECT_EQ(shown(attenuation), "7") << "the third is lost";
  EXPECT_EQ(shown(wanted_attenuation), "8") << "and was accepted";
  EXPECT_EQ(one.writes(0, "wss_edge"), 3U);

  one.set_write_fault(0, "wss_edge", wanted_attenuation, write_fault::late(1500ms), 10s);
  write_to(edge, wanted_attenuation, "9");
  one.step(1400ms);
  EXPECT_EQ(shown(attenuation), "7");
  EXPECT_NEAR(true_attenuation_db(), 7.0, 0.051);
  one.step(500ms);
  EXPECT_EQ(shown(attenuation), "9");
  EXPECT_NEAR(true_attenuation_db(), 9.0, 0.051);

  one.heal_writes(0, "wss_edge");
  one.set_write_fault(0, "wss_edge", wanted_attenuation, write_fault::refused());
  EXPECT_EQ(failure_of([&] { write_to(edge, wanted_attenuation, "5"); }),
            "! -5 Refused by the device");
  write_to(edge, "config/wss/1/channel/19155000/attenuation", "5");
  one.step(1s);
  EXPECT_EQ(shown(attenuation), "9");
  EXPECT_EQ(shown("data/wss/1/channel/19155000/attenuation"), "5") << "the others go on";

  one.set_write_fault(0, "booster", "config/**", write_fault::lost());
  write_to(one.nexel_tree("booster"), "config/gain", "16");
  EXPECT_EQ(shown_at(one.nexel_tree("booster"), "data/gain"), "20") << "any setting";
}

TEST_F(faults, a_share_of_the_writes_is_lost_the_same_one_for_the_same_seed) {
  const auto run = [](std::uint64_t seed) {
    topology what = default_topology("orvalite");
    what.seed = seed;
    plant fresh(what);
    fresh.set_write_fault(0, "voa_sfp", "config/**", write_fault::lost().of(0.3));
    auto& tree = fresh.nexel_tree("voa_sfp");
    std::string done;
    for (int i = 1; i <= 100; ++i) {
      const auto before = fresh.voa_writes(0);
      write_to(tree, "config/attenuation", std::to_string(i % 20));
      done += fresh.voa_writes(0) > before ? 'd' : '-';
    }
    return done;
  };
  const auto first = run(1);
  EXPECT_THAT(std::count(first.begin(), first.end(), '-'), AllOf(Ge(18), Le(42)));
  EXPECT_EQ(first, run(1));
  EXPECT_NE(first, run(2));
}

TEST(selka_faults, reach_what_comes_by_command_and_by_the_store) {
  plant one(default_topology("selkamin"));
  double stored_db = 8.0;
  one.set_switch_source([&](const std::string&, unsigned) { return stored_db; });
  auto& twin = one.nexel_tree("wss");
  const unsigned centre = one.channels().front();
  const std::string name = std::to_string(centre);
  const std::string read_back = "data/module/add/channel/" + name + "/attenuation";
  const auto add = [&] {
    return run_at(twin, "command/module/add/addChannel",
                  R"("{\"center_frequency\":)" + name + R"(,\"width\":10000,\"port\":2}")");
  };
  one.set_reading_fault(0, "wss", "data/module/add/**", reading_fault::replaced("-99"));
  EXPECT_EQ(add(), "true");
  one.step(1s);
  EXPECT_EQ(shown_at(twin, read_back), "-99") << "a channel that came after the fault";
  one.heal_readings(0, "wss");
  EXPECT_EQ(shown_at(twin, read_back), "8");

  EXPECT_EQ(add(), "true");
  one.set_refuses_known_channels(0, "wss", true);
  EXPECT_EQ(add(), "false");

  one.set_write_fault(0, "wss", "config/module/add/channel/*/attenuation",
                      write_fault::late(1500ms));
  stored_db = 5.0;
  one.step(1500ms);
  EXPECT_EQ(shown_at(twin, read_back), "8");
  one.step(500ms);
  EXPECT_EQ(shown_at(twin, read_back), "5");
  one.heal_writes(0, "wss");
  one.set_write_fault(0, "wss", "config/module/**", write_fault::lost());
  stored_db = 4.0;
  one.step(5s);
  EXPECT_EQ(shown_at(twin, read_back), "5");
}

TEST_F(faults, stand_on_the_control_tree_with_what_they_accept) {
  auto& tree = one.control_tree();
  const std::string below = "node/0/nexel/wss_edge/";
  const auto run = [&](const std::string& command, const std::string& json) {
    return failure_of([&] { run_at(tree, "command/" + below + command, json); });
  };
  EXPECT_EQ(run("faultReadings", R"({"path":"data/ocm/1/channel/*/powerLevel",)"
                                 R"("fault":"replaced","value":999,"seconds":2})"),
            "");
  EXPECT_EQ(shown(power), "999");
  one.step(2s);
  EXPECT_NE(shown(power), "999");
  run("faultReadings", R"({"path":"data/**","fault":"failed"})");
  EXPECT_EQ(shown(power), "! -5 Refused by the device");
  run("healReadings", "\"data/**\"");
  EXPECT_EQ(run("faultWrites", R"({"path":"config/**","fault":"late","delay":1.5,"every":2})"), "");
  write_to(edge, wanted_attenuation, "5");
  write_to(edge, wanted_attenuation, "6");
  one.step(1s);
  EXPECT_EQ(shown(attenuation), "5");
  one.step(1s);
  EXPECT_EQ(shown(attenuation), "6");

  const std::pair<const char*, const char*> refusals[] = {
      {R"({"fault":"frozen"})", "! -22 \"path\" is missing"},
      {R"({"path":"**","fault":"tired"})",
       "! -22 fault: found 'tired', accepted are 'replaced', 'frozen', 'noisy', 'trembling', "
       "'stepped', 'failed', 'missing'"},
      {R"({"path":"**","fault":"replaced"})", "! -22 \"value\" is missing"},
      {R"({"path":"**","fault":"noisy","amount":-1})", "! -22 amount -1  is out of range [0, 100]"},
      {R"({"path":"**","fault":"frozen","second":3})", "! -22 \"second\" does not belong to this"},
      {"7", "! -22 found 7, accepted is an object"}};
  for (const auto& [asked, refusal] : refusals)
    EXPECT_EQ(run("faultReadings", asked), refusal);
}

TEST(latency, a_slow_service_is_slow_at_the_address_where_it_is_attached) {
  std::chrono::steady_clock::time_point now{};
  nx::in_process_network network;
  network.set_wait([&](std::chrono::milliseconds time) { now += time; });
  network.set_clock([&] { return now; });
  plant one(default_topology("orvalite"));
  one.attach_to(network, 0, "/near");
  const auto cost_of = [&](const char* name, const char* path) {
    const auto client =
        nexel_client::create(nullptr, std::string("/near/tmp/nexels/") + name, name, {});
    const auto begin = now;
    client->get<std::string>(path);
    return now - begin;
  };
  write_to(one.control_tree(), "config/node/0/nexel/sfp_0/latency", "800");
  EXPECT_EQ(cost_of("sfp/0", "data/operStatus"), 800ms);
  EXPECT_EQ(cost_of("osc1", "data/neighbour"), 0ms) << "alone";
  one.set_latency(0, "sfp/0", 0ms);
  EXPECT_EQ(shown_at(one.control_tree(), "config/node/0/nexel/sfp_0/latency"), "0");
  EXPECT_EQ(cost_of("sfp/0", "data/operStatus"), 0ms);
}

}  // namespace
