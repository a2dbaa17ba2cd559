// `lumoractl explain` on every model, for each fault that the lab offers: the first sentence names
// the cause, nobody is accused who has nothing to do with it, and once it is mended all is well.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <functional>
#include <string>
#include <vector>

#include "base/insight/event_log.h"
#include "models/model.h"
#include "tests/support/plant_node.h"
#include "tools/insight/findings.h"

namespace {

using namespace std::chrono_literals;
using sim::connector;
using sim::direction;
using sim::plant;
using tools::insight::finding;

struct fault {
  const char* what;
  std::function<void(plant&)> begin;
  std::function<void(plant&)> end;
  std::string cause;               ///< begin of the first sentence
  const char* innocent = nullptr;  ///< in no sentence
};

fault lossy(connector where, double db, const char* cause, const char* innocent = nullptr) {
  return {"connector", [=](plant& p) { p.set_connector_loss(0, where, db); },
          [=](plant& p) { p.set_connector_loss(0, where, 0); }, cause, innocent};
}

/// A device that has nothing but errors to tell.
fault refused(const char* service, const char* cause) {
  return {
      service,
      [=](plant& p) { p.set_reading_fault(0, service, "data/**", sim::reading_fault::failed()); },
      [=](plant& p) { p.heal_readings(0, service); }, cause};
}

std::function<void(plant&)> detune(unsigned laser, double ghz) {
  return [=](plant& p) {
    p.change_laser(0, laser, [=](auto& settings) { settings.frequency_offset_ghz = ghz; });
  };
}

constexpr const char* out_is_cut =
    "The fibre that goes out is cut or unplugged: neither signals nor";

std::vector<fault> faults_of(const std::vector<unsigned>& channels) {
  const auto laser = channels[5];
  const auto name = tools::insight::thz_text(laser);
  std::string all;
  for (unsigned i = 0; i < 4; ++i)
    all += (i > 0 ? ", " : "") + tools::insight::thz_text(channels[i]);
  all += fmt::format(" and {}", channels.size() - 4);
  return {
      {"fibre in", [](plant& p) { p.cut_fibre(1); }, [](plant& p) { p.mend_fibre(1); },
       "The fibre is cut or unplugged"},
      // The session with a simulated peer outlives the fibre.
      {"fibre out", [](plant& p) { p.cut_fibre(0); }, [](plant& p) { p.mend_fibre(0); }, out_is_cut,
       "preamp"},
      {"span that the supervisory channel does not bear",
       [](plant& p) { p.set_span_offset(0, 12); }, [](plant& p) { p.set_span_offset(0, 0); },
       "The fibre that goes out is bad, and the supervisory link is down", "preamp"},
      lossy(connector::booster_to_line, 25,
            "The light that goes out is off: between booster and far preamp"),
      lossy(connector::line_to_preamp, 25,
            "The light that comes in is off: between far booster and preamp", "far node"),
      {"laser", [=](plant& p) { p.switch_laser(0, laser, false); },
       [=](plant& p) { p.switch_laser(0, laser, true); }, name + " rx is dark, its laser off"},
      {"off its frequency", detune(laser, 90), detune(laser, 0),
       name + " rx is dark, its laser off, off its frequency"},
      refused("preamp", "The preamp answers, but its gain cannot be read"),
      refused("osc1", "The supervisory channel (OSC) answers, but the state of the link"),
      refused("sfp/0", "The supervisory transceiver (SFP) answers, but the power that it sends"),
      {"before the booster",
       [](plant& p) { p.set_connector_loss(0, connector::switch_to_booster, 29); },
       [](plant& p) { p.set_connector_loss(0, connector::switch_to_booster, 0); },
       all + " more rx are dark, which is all of them: their lasers, or what they share"},
      {"monitor", [](plant& p) { p.set_monitor_offset(0, direction::rx, 3.3); },
       [](plant& p) { p.set_monitor_offset(0, direction::rx, 0.3); },
       "Calibration and monitor do not match"},
  };
}

class explained : public testing::TestWithParam<std::string> {
 protected:
  explained() {
    insight::event_log::instance().reset();
    node_.network().attach(peer, node_.plant().nexel_tree("peer", 1));
    node_.start();
    node_.add_channels();
    node_.run_for(3min);
  }
  ~explained() override { node_.network().detach(peer); }

  static sim::topology facing_a_peer() {
    auto topology = sim::default_topology(GetParam());
    const auto& model = models::get(GetParam());
    topology.peer = model.known_to_peers ? models::simulated_name(model) : "orva-lite";
    return topology;
  }

  std::vector<finding> findings() {
    tools::readings read;
    for (const auto* pattern : tools::insight::insight_patterns()) {
      for (const auto& node : node_.tree().match(pattern)) {
        nx::json_document value(rapidjson::kObjectType);
        try {
          node->get(node->path(), value.GetAllocator(), value);
          read.put_all(value);
        } catch (const nx_error&) {
        }
      }
    }
    read.put("config/redisConfigStatus", true);
    std::vector<tools::insight::event> told;
    for (const auto& each : insight::event_log::instance().events())
      told.push_back(*tools::insight::event_of(insight::json_of(each)));
    return findings_of(insight_of(read, told));
  }

  std::vector<std::string> sentences() {
    std::vector<std::string> all;
    for (const auto& each : findings())
      all.push_back(each.sentence + "; " + each.remedy);
    return all;
  }

  bool is_well() { return !needs_person(findings()); }

  static constexpr const char* peer = "[fe80::2%osc0]:5100";
  test::plant_node node_{facing_a_peer()};
};

TEST_P(explained, by_its_cause_and_well_again_when_that_is_gone) {
  ASSERT_TRUE(is_well()) << testing::PrintToString(sentences());
  for (const auto& fault : faults_of(node_.channels())) {
    const auto& cause = fault.cause;
    SCOPED_TRACE(std::string(fault.what) + ": " + cause);
    fault.begin(node_.plant());
    EXPECT_TRUE(node_.run_until(
        [&] {
          const auto told = sentences();
          return !told.empty() && told.front().starts_with(cause);
        },
        60s))
        << testing::PrintToString(sentences());
    node_.run_for(20s);
    const auto told = sentences();
    EXPECT_TRUE(!told.empty() && told.front().starts_with(cause)) << testing::PrintToString(told);
    for (const auto& each : told)
      EXPECT_TRUE(fault.innocent == nullptr || each.find(fault.innocent) == each.npos) << each;
    fault.end(node_.plant());
    EXPECT_TRUE(node_.run_until([&] { return is_well(); }, 3min))
        << testing::PrintToString(sentences());
    node_.run_for(30s);
    if (HasFailure()) break;
  }
}

TEST_P(explained, with_one_time_since_when_a_peer_is_away) {
  const std::pair<nx::link_state, const char*> table[] = {
      {nx::link_state::hung, "The peer's readings do not change"},
      {nx::link_state::dead, " is lost: "}};
  for (const auto& [state, cause] : table) {
    const auto begin = std::chrono::system_clock::to_time_t(node_.clock().system_now());
    node_.network().set_state(peer, state);
    node_.run_for(40s);
    const auto found = findings();
    ASSERT_FALSE(found.empty()) << cause;
    const auto& first = found.front();
    EXPECT_THAT(first.sentence, testing::HasSubstr(cause));
    EXPECT_NEAR(tools::insight::seconds_of(first.since).value_or(0), begin, 3) << first.sentence;
    EXPECT_THAT(node_.text("insight/summary"),
                testing::HasSubstr("since " + first.since.substr(11, 8)));
    node_.network().set_state(peer, nx::link_state::up);
    EXPECT_TRUE(node_.run_until([&] { return is_well(); }, 2min))
        << testing::PrintToString(sentences());
  }
}

INSTANTIATE_TEST_SUITE_P(models, explained, testing::ValuesIn(models::names()),
                         [](const auto& of) { return of.param; });

}  // namespace
