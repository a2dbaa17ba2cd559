// Two nodes at rest, then one fault on the light path between them: the near node's ladder marks
// the point where it is, and no other.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <functional>

#include "models/model.h"
#include "tests/loops/bars/pair_case.h"
#include "tests/support/tree_values.h"

namespace {

using namespace std::chrono_literals;
using sim::connector;
using sim::direction;
using sim::tap;

constexpr unsigned some_channel = 19230000;

struct mark {
  std::string point;  ///< empty: nothing is marked
  std::string fault;
  unsigned channel = 0;

  bool operator==(const mark&) const = default;
};
std::ostream& operator<<(std::ostream& out, const mark& what) {
  return out << what.point << ' ' << what.fault << ' ' << what.channel;
}

struct fault_row {
  const char* what;
  std::function<void(sim::plant&, double)> set;
  double by;
  const char* ladder;  ///< of the near node: "rx", "tx"; the other one marks nothing
  mark expected;
};

auto dirt(unsigned node, connector where) {
  return [=](sim::plant& plant, double db) { plant.set_connector_loss(node, where, db); };
}

auto tap_drift(tap which) {
  return [=](sim::plant& plant, double db) {
    const auto& taps = plant.get_topology().nodes.front().taps;
    plant.set_tap_offset(0, which, taps[static_cast<std::size_t>(which)].offset_db + db);
  };
}

auto weak_amplifier(unsigned node, direction side) {
  return [=](sim::plant& plant, double db) { plant.set_gain_deficit(node, side, db); };
}

auto on_channel(void (sim::plant::*loss)(unsigned, direction, unsigned, double)) {
  return [=](sim::plant& plant, double db) { (plant.*loss)(0, direction::rx, some_channel, db); };
}

void lengthen_span(sim::plant& plant, double db) {
  plant.set_span_offset(0, db);
}

// clang-format off
const std::vector<fault_row> faults{
    {"dirt before the booster", dirt(0, connector::switch_to_booster), 2, "rx", {"switch", "connector"}},
    {"dirt behind the booster", dirt(0, connector::booster_to_line), 2, "rx", {"farLine", "connector"}},
    {"dirt at the near end of the fibre", dirt(0, connector::fibre_out), 2, "rx", {"fibre", "span"}},
    {"dirt at the end of the other fibre", dirt(0, connector::fibre_in), 2, "tx", {"fibre", "span"}},
    {"dirt before the far preamp", dirt(1, connector::line_to_preamp), 2, "rx", {"farLine", "connector"}},
    {"dirt before the preamp", dirt(0, connector::line_to_preamp), 2, "tx", {"line", "connector"}},
    // No instrument stands behind it.
    {"dirt behind the preamp", dirt(0, connector::preamp_to_switch), 2, "tx", {}},
    {"dirty client", on_channel(&sim::plant::set_client_loss), 2, "rx", {"switch", "port", some_channel}},
    {"lossy port", on_channel(&sim::plant::set_switch_port_loss), 4, "rx", {"switch", "port", some_channel}},
    {"booster input tap", tap_drift(tap::booster_input), 1.5, "rx", {"switch", "inputTap"}},
    {"booster output tap", tap_drift(tap::booster_output), 1.5, "rx", {"booster", "outputTap"}},
    {"preamp input tap", tap_drift(tap::preamp_input), 1.5, "tx", {"line", "inputTap"}},
    {"preamp output tap", tap_drift(tap::preamp_output), 1.5, "tx", {"preamp", "outputTap"}},
    {"supervisory input tap", tap_drift(tap::osc_input), 1.5, "tx", {"fibre", "oscTap"}},
    {"supervisory output tap", tap_drift(tap::osc_output), 1.5, "rx", {"fibre", "oscTap"}},
    {"weak booster", weak_amplifier(0, direction::rx), 3, "rx", {"booster", "gain"}},
    {"weak preamp", weak_amplifier(0, direction::tx), 3, "tx", {"preamp", "gain"}},
    {"weak far preamp", weak_amplifier(1, direction::tx), 3, "rx", {"farPreamp", "gain"}},
    {"longer span", lengthen_span, 3, "rx", {"fibre", "span"}},
};
// clang-format on

class ladder : public testing::Test {
 protected:
  ladder() { bars::bring_to_rest(pair, 5min); }

  nx::json_document shown(const std::string& side) {
    return test::value_of(pair.tree(0), "insight/ladder/" + side);
  }

  mark marked(const std::string& side) {
    const auto document = shown(side);
    mark found;
    for (const auto& rung : document["rungs"].GetArray()) {
      if (!rung["wrong"].GetBool()) continue;
      if (!found.point.empty()) ADD_FAILURE() << "two rungs are marked";
      found.point = rung["point"].GetString();
      found.fault = rung["fault"].GetString();
      if (!rung.HasMember("channels")) continue;
      for (const auto& channel : rung["channels"].GetArray()) {
        if (channel["wrong"].GetBool()) found.channel = channel["channel"].GetUint();
      }
    }
    return found;
  }

  std::string text(const std::string& side) { return nx::json_text(shown(side)); }

  /// Seconds until it shows; negative when it does not in time.
  double seconds_until(const std::string& side, const mark& wanted, std::chrono::seconds limit) {
    const auto begin = pair.now();
    const bool came = pair.run_until([&] { return marked(side) == wanted; }, limit);
    return came ? std::chrono::duration<double>(pair.now() - begin).count() : -1;
  }

  test::plant_pair pair{test::dark_topology("orvalite", 2)};
};

TEST_F(ladder, marks_the_point_that_is_wrong_and_no_other) {
  ASSERT_EQ(marked("rx"), mark{}) << text("rx");
  ASSERT_EQ(marked("tx"), mark{}) << text("tx");
  for (const auto& row : faults) {
    SCOPED_TRACE(row.what);
    row.set(pair.plant(), row.by);
    const auto seconds = seconds_until(row.ladder, row.expected, 40s);
    EXPECT_GE(seconds, 0) << marked(row.ladder) << '\n' << text(row.ladder);
    fmt::print("{:36} {:5.1f} s\n", row.what, seconds);
    const std::string other = std::string(row.ladder) == "rx" ? "tx" : "rx";
    for (int looks = 0; looks < 30; ++looks) {
      pair.run_for(2s);
      EXPECT_EQ(marked(row.ladder), row.expected) << text(row.ladder);
      EXPECT_EQ(marked(other), mark{}) << text(other);
      if (HasFailure()) break;
    }
    row.set(pair.plant(), 0);
    EXPECT_GE(seconds_until(row.ladder, {}, 60s), 0) << text(row.ladder);
    pair.run_for(60s);
    EXPECT_EQ(marked("rx"), mark{}) << text("rx");
    EXPECT_EQ(marked("tx"), mark{}) << text("tx");
    if (HasFailure()) break;
  }
}

class sound_ladder : public testing::TestWithParam<std::string> {};

TEST_P(sound_ladder, marks_nothing_and_knows_its_amplifiers) {
  test::plant_node node(GetParam());
  node.start();
  node.add_channels();
  for (int look = 0; look < 20; ++look) {
    node.run_for(15s);
    for (const char* side : {"rx", "tx"}) {
      const auto document = test::value_of(node.tree(), std::string("insight/ladder/") + side);
      EXPECT_TRUE(document["wrong"].IsNull()) << nx::json_text(document);
      if (look < 19) continue;
      for (const auto& rung : document["rungs"].GetArray()) {
        const std::string point = rung["point"].GetString();
        if (point == "booster" || point == "preamp") {
          EXPECT_TRUE(rung["difference"].IsNumber()) << nx::json_text(document);
        } else if (point == "farLine") {
          EXPECT_TRUE(rung["measured"].IsString()) << "there is no peer";
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(models, sound_ladder, testing::ValuesIn(models::names()),
                         [](const auto& of) { return of.param; });

}  // namespace
