// A line whose peer fails: while the fibre is dark, no attenuator moves on the peer's earlier
// reports, and what of the peer cannot be read is told.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>

#include "base/insight/event_log.h"
#include "tests/loops/bars/pair_case.h"

namespace {

using namespace std::chrono_literals;

class pair_at_rest {
 public:
  pair_at_rest() { bars::bring_to_rest(pair, 3min); }

  double voa() { return pair.plant().voa_attenuation_db(0); }
  unsigned writes() { return pair.plant().voa_writes(0); }
  /// Runs and gives the largest attenuation on the way.
  double highest_within(std::chrono::nanoseconds duration) {
    double highest = voa();
    for (const auto end = pair.now() + duration; pair.now() < end;) {
      pair.run_for(100ms);
      highest = std::max(highest, voa());
    }
    return highest;
  }

  test::plant_pair pair{bars::known_pair("orvalite")};
};

TEST(reopened_line, stands_at_the_preset_until_its_peer_has_been_read) {
  constexpr double preset_db = 5.0;
  pair_at_rest node;
  auto& pair = node.pair;
  pair.plant().cut_line();
  pair.run_for(10s);
  ASSERT_NEAR(node.voa(), preset_db, 0.1);
  pair.stop_manager(1);
  pair.plant().mend_line();
  ASSERT_TRUE(pair.run_until([&] { return pair.plant().osc_ready(0); }, 20s));
  const auto writes = node.writes();
  EXPECT_NEAR(node.highest_within(2min), preset_db, 0.1) << "nobody measured the zeros";
  EXPECT_EQ(node.writes(), writes);
  EXPECT_TRUE(pair.all_on_target(0));
  pair.start_manager(1);
  pair.run_for(4min);
  EXPECT_TRUE(pair.all_on_target(0));
  EXPECT_TRUE(pair.all_on_target(1));
}

/// "preamp booster or VOA": what of the peer a node cannot read.
std::string unreadable(test::plant_pair& pair, unsigned node) {
  const auto told = test::value_of(pair.tree(node), "insight/peer");
  std::string parts;
  for (const auto& gap : told["unreadable"].GetArray())
    parts += (parts.empty() ? "" : ", ") + std::string(gap["part"].GetString());
  return parts;
}

/// What the events tell of the peer: "stalled preamp, resumed preamp".
std::string told_of_peer() {
  std::string all;
  for (const auto& each : insight::event_log::instance().events()) {
    if (each.on != "peer" || each.details.empty()) continue;
    const auto& [name, value] = each.details.front();
    if (std::string(name) != "part") continue;
    all += (all.empty() ? "" : ", ") + std::string(insight::name_of(each.kind)) + ' ' +
           std::get<std::string>(value);
  }
  return all;
}

TEST(device_of_the_peer, that_fails_is_told_here_while_the_peer_lives) {
  pair_at_rest near;
  auto& pair = near.pair;
  struct far_failure {
    const char* device;
    const char* part;
    const char* state = "at rest";
  };
  const far_failure table[] = {{"preamp", "preamp"},
                               {"booster", "booster or VOA"},
                               {"voa_sfp", "booster or VOA"},
                               {"sfp/0", "supervisory transceiver"},
                               {"osc1", "supervisory channel"},
                               {"wss_edge", "", "peer's readings stand still"}};
  for (const auto kind : {sim::nexel_state::hung, sim::nexel_state::killed}) {
    for (const auto& [device, part, state] : table) {
      SCOPED_TRACE(device);
      EXPECT_EQ(unreadable(pair, 0), "");
      insight::event_log::instance().reset();
      pair.plant().set_nexel_state(1, device, kind);
      pair.run_for(45s);
      EXPECT_EQ(unreadable(pair, 0), part);
      EXPECT_EQ(pair.text(0, "insight/line/state"), state);
      EXPECT_NE(pair.text(0, "insight/summary").find(*part != 0 ? "cannot be read" : state),
                std::string::npos);
      pair.plant().set_nexel_state(1, device, sim::nexel_state::ok);
      pair.run_for(20s);
      const std::string name = part;
      EXPECT_EQ(told_of_peer(), name.empty() ? "" : "stalled " + name + ", resumed " + name);
    }
  }
  EXPECT_EQ(unreadable(pair, 0), "");
  EXPECT_EQ(pair.text(0, "insight/line/state"), "at rest");
}

TEST(limit_of_the_far_preamp, is_told_as_why_the_line_hunts) {
  pair_at_rest near;
  near.pair.plant().drop_power_limit(1, sim::direction::tx, 6.0, 0s);
  near.pair.run_for(2min);
  const auto rest = test::value_of(near.pair.tree(0), "insight/rest");
  ASSERT_TRUE(rest["line"]["hunts"].GetBool());
  EXPECT_STREQ(rest["line"]["because"].GetString(), "far preamp saturated");
}

}  // namespace
