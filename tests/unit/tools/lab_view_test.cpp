// The lab's screen and verdict: rows, verdicts, pictures. The daemon's values are supplied as on
// its tree.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>

#include "tools/lab/channel_table.h"
#include "tools/lab/convergence.h"
#include "tools/lab/keys.h"
#include "tools/lab/screen_cells.h"
#include "tools/lab/screen_text.h"
#include "tools/lab/summary_text.h"
#include "tools/lab/view_model.h"

using namespace tools;
using namespace tools::lab;
using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace {

struct told_channel {
  unsigned id = 19300000;
  std::string state = "on target";
  double measured = 4.9;
};

void put_channel(readings& read, const told_channel& what) {
  const auto base = fmt::format("insight/client/{}/rx/", what.id);
  constexpr double target = 4.9;
  read.put(base + "state", what.state);
  read.put(base + "why", fmt::format("{:.1f} dB off", what.measured - target));
  read.put(base + "measured", what.measured);
  read.put(base + "target", target);
  read.put(base + "error", what.measured - target);
  read.put(base + "headroomUp", 6.0);
  read.put(base + "headroomDown", 9.0);
  read.put(fmt::format("data/client/{}/rx/attenuation", what.id), 6.0);
}

/// Two lit channels on target, a dark one, and a line that rests.
readings node_at_rest() {
  readings read;
  put_channel(read, {19300000});
  put_channel(read, {19400000});
  put_channel(read, {19350000, "dark", -45.0});
  read.put("insight/line/state", std::string("at rest"));
  read.put("insight/summary", std::string("2 of 2 lit channels on target; line at rest"));
  read.put("insight/device/voa/attenuation", 3.0);
  read.put("config/redisConfigStatus", true);
  return read;
}

view view_of(const readings& read) {
  return make_view(read, {});
}

/// Characters as a screen counts them, without colours.
unsigned shown_width(std::string text) {
  for (auto at = text.find('\x1b'); at != text.npos; at = text.find('\x1b'))
    text.erase(at, text.find('m', at) - at + 1);
  return width_of(text);
}

}  // namespace

TEST(view_model, puts_what_is_off_its_target_first_and_the_worst_of_it_on_top) {
  auto read = node_at_rest();
  put_channel(read, {19450000, "stepping", 7.9});
  put_channel(read, {19500000, "exhausted (too weak)", 2.2});
  put_channel(read, {19550000, "stepping", 0.9});
  read.put(truth_path(0, "19300000"), 5.2);
  std::vector<unsigned> order;
  const auto seen = view_of(read);
  for (const auto& row : rows_by_need(seen))
    order.push_back(row.of.place.id);
  EXPECT_THAT(order, ElementsAre(19500000, 19550000, 19450000, 19300000, 19350000, 19400000));
  EXPECT_NEAR(seen.channels.front().truth.value(), 5.2, 0.001);
  EXPECT_EQ(count(seen).lit, 5U);
  EXPECT_EQ(count(seen).on_target, 2U);
}

TEST(convergence, begins_again_after_each_disturbance) {
  const auto rest = view_of(node_at_rest());
  const auto changed = [](const std::string& path, readings::value value) {
    auto read = node_at_rest();
    read.put(path, std::move(value));
    return view_of(read);
  };
  auto off_target = node_at_rest();
  put_channel(off_target, {19300000, "stepping", 8.0});
  auto gone_dark = node_at_rest();
  put_channel(gone_dark, {19300000, "dark", -45.0});
  auto loop_down = rest;
  loop_down.findings.push_back(
      {insight::cause::loop_down, "client rx", "The loop is down", "", "", ""});

  const std::pair<view, const char*> table[] = {
      {view_of(off_target), "193.00 THz stepping: 3.1 dB off"},
      {changed("insight/device/voa/attenuation", 3.4), "the line VOA moves"},
      {changed("data/line/lmsStepSize", -0.3), "the line is -0.30 dB off"},
      {view_of(gone_dark), "1 of 2 lit channels in sight"},
      {changed(truth_path(0, "19300000"), 0.0), "is not the plant's 0.00 dBm"},
      {loop_down, "The loop is down"},
  };
  for (const auto& [disturbed, reason] : table) {
    convergence verdict(2);
    const convergence::clock::time_point start{};
    EXPECT_FALSE(verdict.update(rest, start));
    EXPECT_THAT(verdict.reasons(disturbed), ElementsAre(HasSubstr(reason)));
    EXPECT_FALSE(verdict.update(disturbed, start + 1s)) << reason;
    EXPECT_FALSE(verdict.update(rest, start + convergence::hold)) << reason;
    EXPECT_TRUE(verdict.update(rest, start + 2 * convergence::hold)) << reason;
  }
}

TEST(look_of, takes_block_characters_only_where_the_terminal_has_them) {
  struct terminal {
    const char* term;
    const char* locale;
    bool colours, unicode;
  };
  const terminal table[] = {
      {"xterm-256color", "en_US.UTF-8", true, true}, {"vte-256color", "C.utf8", true, true},
      {"xterm-256color", "C", true, false},          {"screen", "", true, false},
      {"linux", "en_US.UTF-8", true, false},         {"vt100", "en_US.UTF-8", false, false},
      {"vt220", "de_DE.UTF8", false, false},         {"ansi", "en_US.UTF-8", true, false},
  };
  for (const auto& [term, locale, colours, unicode] : table) {
    const auto how = look_of(term, locale, true);
    EXPECT_EQ(how.colours, colours) << term;
    EXPECT_EQ(how.unicode, unicode) << term << ' ' << locale;
    EXPECT_FALSE(look_of(term, locale, false).colours);
  }
}

TEST(picture, never_exceeds_the_terminal_and_scrolls_to_the_last_channel) {
  auto read = node_at_rest();
  for (unsigned id = 19140000; id < 19140000 + 32 * 15000; id += 15000)
    put_channel(read, {id});
  read.put("insight/line/state", std::string("no fibre"));
  read.put("insight/line/why", std::string("neither light nor supervisory channel comes in"));
  const auto seen = view_of(read);
  picture_options options{
      "orvalite", 75s, page::channels, 1000, "/tmp/lab/ctl explain", "http://127.0.0.1:9720/"};
  for (const screen_size size : {screen_size{80, 24}, {40, 12}, {200, 60}, {10, 3}, {120, 40}}) {
    for (const look how : {look{false, false}, look{true, true}}) {
      const auto drawn = picture(seen, options, size, how);
      EXPECT_LE(drawn.lines.size(), size.rows);
      for (const auto& line : drawn.lines)
        EXPECT_LE(shown_width(line), size.columns) << line;
      if (size.columns < 40 || how.colours) continue;
      EXPECT_THAT(drawn.lines, Contains(StartsWith("  196.05"))) << size.rows;
      // What is printed runs, or is not printed.
      EXPECT_EQ(drawn.lines.back(), options.command);
    }
  }
}

TEST(picture, says_first_what_is_wrong_and_keeps_room_for_the_channels) {
  auto read = node_at_rest();
  read.put("insight/line/state", std::string("no fibre"));
  read.put("insight/line/why", std::string("neither light nor supervisory channel comes in: "
                                           "amplifiers off, VOA at 5.0 dB. Mend the fibre"));
  for (unsigned at = 0; at < 12; ++at)
    read.put(fmt::format("insight/device/d{}/alive", at), at != 0);
  read.put("insight/device/d0/age", 7.0);
  const auto seen = make_view(read, {{"2026-01-31T12:00:00.0Z", "cut", "line", {}, ""}});
  const auto lines =
      picture(seen, {"orvalite", 0s, page::channels, 0, ""}, {80, 24}, {false, false}).lines;
  EXPECT_THAT(lines[1], StartsWith("2 of 2 lit channels"));
  EXPECT_THAT(lines[2], StartsWith("The d0 has not answered for 7 s."));
  EXPECT_THAT(lines, Contains(StartsWith("The fibre is cut or unplugged (since 12:00:00 UTC)")));
  EXPECT_THAT(lines, Contains(StartsWith("  193.00 rx")));
  EXPECT_THAT(lines, Contains("12:00:00  line  the fibre is cut"));
  auto mute = seen;
  mute.answers = false;
  EXPECT_THAT(picture(mute, {}, {80, 24}, {false, false}).lines[1], "The daemon does not answer.");
}

TEST(picture, shows_ladder_and_panel_by_page) {
  auto read = node_at_rest();
  read.put(
      "insight/ladder/rx",
      std::string(R"({"why":"at the booster: a connector","rungs":[{"point":"client","unit":"dBm",)"
                  R"("expected":"unknown","measured":"unknown","basis":"no instrument"},)"
                  R"({"point":"booster","unit":"dBm","expected":5,"measured":3,)"
                  R"("difference":-2,"wrong":true,"fault":"connector","basis":"its input"}]})"));
  const std::pair<const char*, const char*> lamps[] = {
      {"line/1/rx", "green"},     {"client/1/rx", "off"},  {"client/2/rx", "red"},
      {"client/10/rx", "yellow"}, {"line/1/tx", "orange"}, {"xc/1/tx", "green"}};
  for (const auto& [port, colour] : lamps)
    read.put(fmt::format("panel:data/{}Led/status", port), std::string(colour));
  const auto lines = [&](page which, screen_size size, look how) {
    return picture(view_of(read), {"orvalite", 0s, which, 0, ""}, size, how).lines;
  };
  const auto ladder = lines(page::ladder, {120, 30}, {false, true});
  EXPECT_THAT(ladder, Contains("client         unknown     unknown           no instrument"));
  EXPECT_THAT(ladder, Contains("booster        5.0 dBm     3.0 dBm  -2.0 dB  WRONG; its input"));
  EXPECT_THAT(ladder, Contains("Wrong: at the booster: a connector"));
  const auto panel = lines(page::panel, {80, 30}, {false, true});
  EXPECT_THAT(panel, Contains("leds rx  line G  client .RY"));
  EXPECT_THAT(panel, Contains("leds tx  line O  xc G"));
  EXPECT_THAT(lines(page::panel, {16, 30}, {true, true}),
              Contains("leds rx  line \x1b[32m●\x1b[0m "));
}

TEST(changed_cells, are_all_that_goes_out) {
  const std::tuple<const char*, const char*, const char*> table[] = {
      {"192.30  4.45  on target", "192.30  4.45  on target", ""},
      {"192.30  4.45  on target", "192.30  4.46  on target", "\x1b[3;12H6"},
      {"4.45 dBm on target", "4.46 dBm on target now", "\x1b[3;4H6\x1b[3;20Hnow"},
      {"4.45 dB", "4.46 db", "\x1b[3;4H6 db"},
      {"stepping", "step  ", "\x1b[3;5H\x1b[K"},
      {"", "  \x1b[32mok now\x1b[0m", "\x1b[3;3H\x1b[32mok now\x1b[0m"},
      {"\x1b[32mok\x1b[0m", "\x1b[31mok\x1b[0m", "\x1b[3;1H\x1b[31mok\x1b[0m"},
      {"\x1b[32m█▓│\x1b[0m", "\x1b[32m██│\x1b[0m", "\x1b[3;2H\x1b[32m█\x1b[0m"},
      {"red", "\x1b[31mred\x1b[0m \x1b[32mgo", "\x1b[3;1H\x1b[31mred \x1b[0m\x1b[32mgo\x1b[0m"},
  };
  for (const auto& [before, now, sent] : table)
    EXPECT_EQ(changed_cells(before, now, 3), sent) << now;
}

TEST(power_bar, shows_what_the_attenuator_could_still_do) {
  // 35 dB on 35 columns, from -25 dBm: a column a dB.
  EXPECT_EQ(power_bar({0.0, 4.0, 6.0, 9.0}, 35, false), "################=========....|.    ");
  EXPECT_EQ(power_bar({-25.0, 5.0, 0.0, 0.0}, 35, false).find_first_not_of(" |"),
            std::string::npos);
}

TEST(keys, are_taken_one_by_one_however_they_come) {
  std::string typed = "\x1b[6~\x1b[HGx\x1b[15~\x1bOAq";
  std::vector<key> taken;
  while (!typed.empty())
    taken.push_back(take_key(typed));
  EXPECT_THAT(taken, ElementsAre(key::page_down, key::home, key::end, key::unknown, key::unknown,
                                 key::up, key::quit));
}
