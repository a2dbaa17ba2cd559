// The diagnosis: which of several faults is named first, and the texts for channels and events.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/ctl/exit_code.h"
#include "tools/ctl/since.h"
#include "tools/insight/findings.h"

using namespace tools;
using namespace tools::insight;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

constexpr const char* noon = "2026-01-31T12:00:00.123Z";

event at_noon(const std::string& kind, const std::string& on,
              std::map<std::string, std::string> details = {}) {
  return {noon, kind, on, std::move(details), ""};
}

/// A node whose three channels are on target and whose line is at rest.
readings node_at_rest() {
  readings read;
  for (const unsigned id : {19230000U, 19245000U, 19260000U}) {
    for (const char* side : {"rx", "tx"}) {
      const auto base = fmt::format("insight/client/{}/{}/", id, side);
      read.put(base + "state", std::string("on target"));
      read.put(base + "why", std::string("0.1 dB too weak; on target"));
    }
  }
  read.put("insight/line/state", std::string("at rest"));
  read.put("config/redisConfigStatus", true);
  return read;
}

using values = std::vector<std::pair<std::string, readings::value>>;

std::string state(const char* channel_and_side) {
  return fmt::format("insight/client/{}/state", channel_and_side);
}

struct trouble {
  values read;
  std::vector<event> events;
  cause first;
  std::string on;
};

}  // namespace

TEST(findings, name_the_cause_before_what_it_brings_about) {
  const std::string dark = "dark", failed = "device failed", weak = "exhausted (too weak)";
  const event booster_down =
      at_noon("loopDown", "client rx", {{"reason", "Not connected: booster"}});
  const trouble table[] = {
      // A cut darkens what comes in, and nobody can be read through it.
      {{{"insight/line/state", std::string("no fibre")}, {state("19230000/tx"), dark}},
       {at_noon("cut", "line"), at_noon("peerLost", "peer"), at_noon("dark", "client tx 19230000")},
       cause::fibre_cut,
       "line"},
      // A device that is silent takes its loop down.
      {{{"insight/device/booster/alive", false},
        {"insight/device/booster/age", 4.0},
        {"insight/device/voa/alive", false},
        {state("19230000/rx"), failed}},
       {booster_down},
       cause::device_silent,
       "booster"},
      // One that answers with errors only, and what follows from it.
      {{{"insight/device/osc/alive", true},
        {"insight/device/booster/alive", true},
        {"insight/device/booster/gain", 20.0},
        {"insight/line/state", std::string("no supervisory link")},
        {state("19230000/rx"), failed}},
       {},
       cause::device_silent,
       "osc"},
      {{{state("19230000/rx"), dark}, {"insight/line/state", std::string("no peer")}},
       {at_noon("lit", "client rx 19230000"), at_noon("dark", "client rx 19230000")},
       cause::channel_dark,
       "192.30 rx"},
      {{{"insight/line/state", std::string("no peer")}},
       {at_noon("peerLost", "peer")},
       cause::peer_lost,
       "line"},
      {{{"insight/line/state", std::string("no peer")}}, {}, cause::no_peer, "line"},
      // One that is off gives no gain at all.
      {{{"insight/device/booster/enabled", false},
        {"insight/device/booster/saturation", 45.0},
        {"insight/device/preamp/enabled", true},
        {"insight/device/preamp/saturation", 3.1}},
       {},
       cause::amplifier_saturated,
       "preamp"},
      // A part of the peer fails: what is not told any more is a consequence.
      {{{"insight/peer",
         std::string(R"({"product":"ORVA-LITE","unreadable":[{"part":"preamp",)"
                     R"("since":"2026-01-31T12:00:00Z","values":["data/line/1/rx/power"],)"
                     R"("meanwhile":"the line goes on"}]})")},
        {"insight/line/state", std::string("peer's readings stand still")}},
       {},
       cause::peer_unreadable,
       "peer"},
      {{{state("19230000/rx"), weak}, {state("19245000/rx"), weak}},
       {},
       cause::channel_exhausted,
       "192.30, 192.45 rx"},
      {{{"insight/line/state", std::string("far preamp saturated")}, {state("19230000/rx"), weak}},
       {},
       cause::far_preamp_saturated,
       "line"},
      {{{"config/redisConfigStatus", false}, {state("19230000/rx"), dark}},
       {},
       cause::not_configured,
       "node"},
      {{{"insight/rest",
         std::string(R"({"client rx":{"hunting":[19230000,19245000]},"line":{"hunts":false}})")}},
       {},
       cause::hunting,
       "192.30, 192.45 rx"},
      {{{"insight/rest",
         std::string(R"({"line":{"hunts":true,"because":"far preamp saturated"}})")}},
       {},
       cause::far_preamp_saturated,
       "line"},
      {{{"insight/guards",
         std::string(
             R"({"dispersion-setting":{"active":[{"on":"compensator","reason":"away"}]}})")}},
       {},
       cause::line_device,
       "compensator"},
      {{{"data/automationMode", std::string("dark")}}, {}, cause::regulation_stopped, "node"},
      {{{"insight/ladder/rx",
         std::string(R"({"rungs":[{"point":"booster in","wrong":true,"difference":-2.1}]})")},
        {state("19230000/rx"), weak}},
       {},
       cause::light_path,
       "rx booster in"},
  };
  for (const auto& [changes, events, first, on] : table) {
    auto read = node_at_rest();
    for (const auto& [path, value] : changes)
      read.put(path, value);
    const auto found = findings_of(insight_of(read, events));
    ASSERT_FALSE(found.empty()) << name_of(first);
    EXPECT_STREQ(name_of(found.front().of), name_of(first));
    EXPECT_EQ(found.front().on, on);
    EXPECT_TRUE(needs_person(found)) << name_of(first);
  }
}

TEST(findings, name_both_of_two_causes_before_what_they_bring_about) {
  auto read = node_at_rest();
  for (const char* channel : {"19230000/tx", "19245000/tx", "19260000/tx"})
    read.put(state(channel), std::string("dark"));
  read.put("insight/device/booster/alive", false);
  read.put("insight/device/booster/age", 4.0);
  read.put("insight/device/sfp/alive", true);
  read.put("insight/device/sfp/outputPower", 0.0);
  read.put("insight/line/state", std::string("device failed"));
  read.put(
      "insight/guards",
      std::string(R"({"line-known":{"active":[{"on":"line","reason":"the span is not known"}]}})"));
  const auto found = findings_of(insight_of(
      read, {at_noon("loopDown", "line", {{"reason", "Not connected: /tmp/nexels/booster"}}),
             at_noon("loopDown", "client tx", {{"reason", "Not connected: /tmp/nexels/preamp"}}),
             at_noon("loopDown", "client rx", {{"reason", "a device is not operational"}}),
             at_noon("dark", "client tx 19230000")}));
  std::vector<std::string> causes;
  for (const auto& each : found)
    causes.emplace_back(name_of(each.of));
  EXPECT_THAT(causes, ElementsAre("deviceSilent", "fibreCut", "loopDown"));
}

TEST(findings, are_none_at_rest_and_ask_for_nobody_while_light_is_on_its_way) {
  auto read = node_at_rest();
  EXPECT_THAT(findings_of(insight_of(read)), IsEmpty());
  // Dark, and never seen lit or asked for: nobody misses it.
  read.put(state("19230000/rx"), std::string("dark"));
  EXPECT_THAT(findings_of(insight_of(read)), IsEmpty());
  read.put("config/client/19230000/rx/adminStatus", std::string("up"));
  EXPECT_TRUE(needs_person(findings_of(insight_of(read))));
  // The fibre has just been mended: the light comes on again.
  auto mended = insight_of(read, {at_noon("cut", "line"), at_noon("mended", "line")});
  mended.now = seconds_of(noon).value() + 2;
  EXPECT_FALSE(needs_person(findings_of(mended)));
  mended.now = seconds_of(noon).value() + 9;
  EXPECT_TRUE(needs_person(findings_of(mended)));
  read.put(state("19230000/rx"), std::string("stepping"));
  const auto found = findings_of(insight_of(read));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_FALSE(needs_person(found));
  EXPECT_THAT(findings_of(insight_of(node_at_rest(), {at_noon("loopDown", "client rx"),
                                                      at_noon("loopUp", "client rx")})),
              IsEmpty());
}

TEST(findings, tell_a_guard_once_for_all_its_channels_and_not_of_those_that_tell_it_themselves) {
  auto read = node_at_rest();
  read.put(state("19260000/rx"), std::string("amplifier saturated"));
  read.put("insight/guards", std::string(R"({"unsaturated-amplifier":{"withheld":9,"active":[)"
                                         R"({"on":"client rx 19230000","reason":"it is full"},)"
                                         R"({"on":"client rx 19245000","reason":"it is full"},)"
                                         R"({"on":"client rx 19260000","reason":"it is full"},)"
                                         R"({"on":"client rx calibration","reason":"dark"}]},)"
                                         R"("plausibility":{"active":[)"
                                         R"({"on":"device ocm/1/power","reason":"-99"},)"
                                         R"({"on":"device ocm/2/power","reason":"-98"},)"
                                         R"({"on":"device ocm/3/power","reason":"-97"}]}})"));
  std::vector<std::string> told;
  for (const auto& each : findings_of(insight_of(read)))
    if (each.of == cause::guard) told.push_back(each.sentence);
  const std::string guard = "Guard unsaturated-amplifier is active on ";
  EXPECT_THAT(told,
              ElementsAre(guard + "client rx calibration: dark",
                          "Guard plausibility is active on device ocm/1/power and 2 more like "
                          "it: -99",
                          guard + "192.30, 192.45 rx: it is full"));
}

TEST(findings, tell_since_when) {
  auto read = node_at_rest();
  read.put("insight/line/state", std::string("no fibre"));
  read.put("insight/line/why", std::string("no light."));
  auto node = insight_of(read, {at_noon("cut", "line")});
  node.now = seconds_of(noon).value() + 14;
  EXPECT_EQ(full_sentence(findings_of(node).front(), node),
            "The fibre is cut or unplugged (since 12:00:00 UTC, 14 s): no light.");
  read.put("insight/line/state", std::string("peer not known"));
  const auto stalled = insight_of(
      read, {at_noon("stalled", "line"), at_noon("cut", "line"), at_noon("mended", "line")});
  EXPECT_EQ(findings_of(stalled).front().since, noon);
  const auto other =
      insight_of(read, {at_noon("stalled", "line", {{"state", "no supervisory link"}})});
  EXPECT_EQ(findings_of(other).front().since, "") << "told of another state";
}

TEST(findings, of_a_start_last_as_long_as_the_daemon_says_whatever_else_comes_and_goes) {
  const std::string fault = "The store does not answer: start it";
  const std::vector<event> events{at_noon("startFailed", "store", {{"reason", fault}}),
                                  at_noon("loopDown", "panel"), at_noon("loopUp", "panel")};
  readings read;
  read.put("insight/start", fault);
  const auto failed = findings_of(insight_of(read, events));
  ASSERT_EQ(failed.size(), 1U);
  EXPECT_EQ(failed.front().sentence, fault);
  EXPECT_EQ(failed.front().since, noon);
  const auto mended = findings_of(insight_of({}, events));
  ASSERT_EQ(mended.size(), 1U);
  EXPECT_THAT(mended.front().sentence, StartsWith("The daemon is still starting"));
  EXPECT_EQ(mended.front().since, "");
}

TEST(find_channel, takes_frequencies_wavelengths_and_names) {
  const std::vector<channel_place> grid{{19230000, 19230000}, {19237500, 19237500}};
  const std::vector<channel_place> numbered{{7, 19260000}, {8, 19270000}};
  const std::tuple<std::string, std::vector<channel_place>, unsigned> table[] = {
      {"192.30", grid, 19230000},
      {"192.3 THz", grid, 19230000},
      {"1558.98", grid, 19230000},
      {"1558.98nm", grid, 19230000},
      {"19237500", grid, 19237500},
      {"192.375", grid, 19237500},
      {"192.35", grid, 0},
      {"booster", grid, 0},
      {"", grid, 0},
      {"7", numbered, 7},
      {"192.7", numbered, 8},
      {"9", numbered, 0},
  };
  for (const auto& [word, known, id] : table)
    EXPECT_EQ(find_channel(word, known).value_or(channel_place{}).id, id) << word;
  EXPECT_EQ(thz_text(19230000), "192.30");
  EXPECT_EQ(thz_text(19206250), "192.0625");
}

TEST(event_lines, fold_what_comes_together_and_name_channels_by_their_frequency) {
  const auto event_at = [](const char* clock, const std::string& rest) {
    return event_of(fmt::format(R"({{"time":"2026-01-31T{}.5Z",{}}})", clock, rest)).value();
  };
  const std::vector<event> events{
      event_at("12:00:00", R"("event":"lit","on":"client rx 7")"),
      event_at("12:00:00", R"("event":"lit","on":"client rx 8")"),
      event_at("12:00:03", R"("event":"arrived","on":"client rx 7","seconds":3.14,"steps":1)"),
      event_at("12:00:09", R"("event":"lit","on":"client rx 9")"),
      event_at("12:01:00", R"("event":"peerLost","on":"peer","product":"ORVA\u001b-LITE")"),
      event_at("12:01:10",
               R"("event":"stalled","on":"peer","part":"preamp","reason":"all goes on")"),
      event_at("12:02:00", R"("event":"exhausted","on":"client rx 7","error":-2.74)"),
      event_at("12:03:00",
               R"("event":"parameterWritten","on":"config/x","value":"4.5","writes":30,)"
               R"("until":"2026-01-31T12:03:09.5Z")"),
      event_at("12:04:00", R"("event":"guardBegan","on":"peer data/client/7/rx/power",)"
                           R"("guard":"plausibility","reason":"63 is no tap power")"),
      event_at("12:04:01", R"("event":"guardBegan","on":"peer data/client/8/rx/power",)"
                           R"("guard":"plausibility","reason":"64 is no tap power")"),
  };
  EXPECT_THAT(
      event_lines(events, {{7, 19260000}}),
      ElementsAre("2026-01-31 12:00:00  3 channels rx  has light",
                  "2026-01-31 12:00:03  192.60 rx      is on target after 3.1 s in 1 step",
                  R"(2026-01-31 12:01:00  peer           lost, it was ORVA\x1b-LITE)",
                  "2026-01-31 12:01:10  peer           its preamp cannot be read: all goes on",
                  "2026-01-31 12:02:00  192.60 rx      is exhausted, 2.7 dB too weak",
                  "2026-01-31 12:03:00  config/x       written 30 times until 12:03:09, "
                  "at last: 4.5",
                  "2026-01-31 12:04:00  2 channels peer's rx/power  guard plausibility "
                  "begins: 63 is no tap power"));
  EXPECT_FALSE(event_of("no json"));
}

TEST(moment_of, takes_spans_clocks_and_dates) {
  const long now = seconds_of("2026-01-31T12:00:00Z").value();
  const std::pair<const char*, const char*> table[] = {
      {"90s", "2026-01-31T11:58:30Z"},        {"2h", "2026-01-31T10:00:00Z"},
      {"11:30", "2026-01-31T11:30:00Z"},      {"12:30:15", "2026-01-30T12:30:15Z"},
      {"2026-01-02", "2026-01-02T00:00:00Z"}, {"2026-01-02T03:04:05Z", "2026-01-02T03:04:05Z"},
  };
  for (const auto& [word, moment] : table)
    EXPECT_EQ(ctl::moment_of(word, now), seconds_of(moment)) << word;
  for (const char* word : {"", "soon", "5", "12:30x", "2026-13-45"})
    EXPECT_THROW(ctl::moment_of(word, now), ctl::usage_error) << word;
}
