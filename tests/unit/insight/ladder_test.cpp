// The arithmetic of the ladder on a path with round numbers: the trace of each fault between the
// instruments, and what cannot be determined.
#include "base/insight/ladder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "base/insight/ladder_book.h"

namespace {

using namespace insight;
using testing::HasSubstr;

/// Four channels of 0 dBm behind 8 dB of switch, 20 dB of booster, 17 dB of span, 25 dB of preamp.
ladder_view sound(light_way way) {
  const bool out = way == light_way::rx;
  ladder_view view{.output = 18.0f,
                   .gain = out ? 20.0f : 25.0f,
                   .calibration = 13.0f,
                   .sent = 12.0f,
                   .received = -5.0f,
                   .osc_sent = -1.0f,
                   .osc_received = -18.8f,
                   .far_gain = 24.0f,
                   .far_calibration = 20.0f};
  view.input = *view.output - *view.gain;
  for (unsigned id = 1; id <= 4; ++id)
    view.lit.push_back({.id = id, .attenuation = 8.0f, .monitored = -1.02f, .far = -7.02f});
  return view;
}

struct row {
  const char* name;
  light_way way;
  std::function<void(ladder_view&)> change;
  std::optional<ladder_finding> expected;
  bool learned = true;
};

constexpr auto rx = light_way::rx;
constexpr auto tx = light_way::tx;

void weaken(ladder_view& view, unsigned channel, float db) {
  // The other channels get the same, so that the sum falls by what is lost.
  const float before = sums_of(view)->monitored;
  view.lit[channel].monitored -= db;
  const float lost = before - sums_of(view)->monitored;
  *view.input -= lost;
  *view.output -= lost;
}

const row rows[] = {
    {"sound out", rx, [](ladder_view&) {}, {}},
    {"sound in", tx, [](ladder_view&) {}, {}},
    {"a loss for all before the booster, made up for", rx,
     [](ladder_view& view) {
       for (auto& channel : view.lit)
         channel.attenuation -= 2;
     },
     ladder_finding{ladder_point::ports, ladder_fault::connector, -2}},
    {"a tenth of it", rx, [](ladder_view& view) { view.lit[0].attenuation -= 0.2f; }, {}},
    {"a channel alone", rx, [](ladder_view& view) { weaken(view, 2, 4); },
     ladder_finding{ladder_point::ports, ladder_fault::port, -4, {3}}},
    {"without experience no client is wrong",
     rx,
     [](ladder_view& view) { weaken(view, 2, 4); },
     {},
     false},
    {"input tap", rx, [](ladder_view& view) { *view.input += 1.5f; },
     ladder_finding{ladder_point::ports, ladder_fault::input_tap, 1.5f}},
    {"output tap", rx,
     [](ladder_view& view) {
       *view.output += 1.5f;
       *view.sent += 1.5f;
     },
     ladder_finding{ladder_point::amplifier, ladder_fault::output_tap, 1.5f}},
    {"gain that is told and not given", rx, [](ladder_view& view) { *view.gain += 3; },
     ladder_finding{ladder_point::amplifier, ladder_fault::gain, -3}},
    {"the same from the first look on", rx, [](ladder_view& view) { *view.gain += 3; },
     ladder_finding{ladder_point::amplifier, ladder_fault::gain, -3}, false},
    {"monitor", tx,
     [](ladder_view& view) {
       for (auto& channel : view.lit)
         channel.monitored -= 2;
     },
     ladder_finding{ladder_point::amplifier, ladder_fault::monitor, -2}},
    {"a longer span", tx,
     [](ladder_view& view) {
       *view.received -= 3;
       *view.osc_received -= 3.1f;
       *view.input -= 3;
       *view.output -= 3;
       for (auto& channel : view.lit)
         channel.monitored -= 3;
     },
     ladder_finding{ladder_point::fibre, ladder_fault::span, 3.1f}},
    {"a tap of the supervisory channel", tx, [](ladder_view& view) { *view.osc_received += 1.5f; },
     ladder_finding{ladder_point::fibre, ladder_fault::osc_tap, -1.5f}},
    {"lost beside the supervisory channel", rx,
     [](ladder_view& view) {
       *view.received -= 2;
       for (auto& channel : view.lit)
         *channel.far -= 2;
     },
     ladder_finding{ladder_point::line, ladder_fault::connector, -2}},
    // What the monitor behind shows is its noise.
    {"nothing arrives at the far end", rx,
     [](ladder_view& view) {
       view.received.reset();
       view.osc_received.reset();
       view.is_dark = view.is_osc_dark = true;
       for (auto& channel : view.lit)
         *channel.far -= 25;
     },
     ladder_finding{ladder_point::fibre, ladder_fault::dark, 0}},
    {"nothing of the signals arrives here", tx,
     [](ladder_view& view) {
       view.received.reset();
       view.lit.clear();
       view.is_dark = true;
     },
     ladder_finding{ladder_point::line, ladder_fault::dark, 0}},
    {"almost nothing of them", tx,
     [](ladder_view& view) {
       *view.received -= 25;
       view.lit.clear();
     },
     ladder_finding{ladder_point::line, ladder_fault::connector, -25}},
    {"far preamp", rx,
     [](ladder_view& view) {
       for (auto& channel : view.lit)
         *channel.far -= 3;
     },
     ladder_finding{ladder_point::far, ladder_fault::gain, -3}},
    {"in the dark", rx, [](ladder_view& view) { view.lit.clear(); }, {}},
};

TEST(ladder_arithmetic, finds_the_first_point_that_is_wrong) {
  for (const auto& each : rows) {
    SCOPED_TRACE(each.name);
    auto view = sound(each.way);
    const auto usual = each.learned ? differences_of(view, each.way) : differences();
    each.change(view);
    const auto found = first_fault(differences_of(view, each.way), usual, each.way);
    ASSERT_EQ(found.has_value(), each.expected.has_value());
    if (!found) continue;
    EXPECT_TRUE(found->is_same(*each.expected))
        << static_cast<int>(found->where) << ' ' << static_cast<int>(found->what);
    EXPECT_NEAR(found->by, each.expected->by, 0.15);
  }
}

TEST(ladder_arithmetic, takes_a_switch_between_the_stages_into_account) {
  auto view = sound(tx);
  view.switch_inside = true;
  *view.output -= 8;
  for (auto& channel : view.lit)
    channel.monitored -= 8;
  const auto now = differences_of(view, tx);
  EXPECT_NEAR(*now.amplifier, 0, 0.01);
}

TEST(ladder_book, learns_in_a_minute_believes_five_looks_and_accepts_in_a_day_what_may_be_meant) {
  using namespace std::chrono_literals;
  ladder_book book(rx);
  std::chrono::steady_clock::time_point now{};
  const auto look = [&](const ladder_view& view, int looks) {
    for (int i = 0; i < looks; ++i)
      book.look(view, now += 2s);
  };
  look(sound(rx), 29);
  EXPECT_TRUE(book.open().usual.ports.empty());
  look(sound(rx), 2);
  EXPECT_EQ(book.open().usual.ports.size(), 4U);
  auto weak = sound(rx);
  *weak.gain += 3;
  look(weak, 4);
  EXPECT_FALSE(book.open().fault);
  look(weak, 100);
  ASSERT_TRUE(book.open().fault);
  EXPECT_THAT(
      ladder_json(book.open(), rx),
      HasSubstr(R"("why":"at the booster: the amplifier gives 3.0 dB less than it reports")"));
  look(sound(rx), 5);
  EXPECT_FALSE(book.open().fault);
  // A longer way may be meant; an amplifier that gives less than it tells is never.
  constexpr int almost_a_day = 43190;
  auto rerouted = sound(rx);
  *rerouted.osc_received -= 4;
  *rerouted.received -= 4;
  for (auto& channel : rerouted.lit)
    *channel.far -= 4;
  look(rerouted, almost_a_day);
  EXPECT_TRUE(book.open().fault);
  look(rerouted, 20);
  EXPECT_FALSE(book.open().fault);
  *rerouted.gain += 3;
  look(rerouted, 2 * almost_a_day);
  EXPECT_TRUE(book.open().fault);
}

TEST(ladder_book, tells_no_number_without_its_basis) {
  using namespace std::chrono_literals;
  ladder_book book(rx);
  auto alone = sound(rx);
  alone.received = alone.osc_received = alone.far_gain = alone.far_calibration = std::nullopt;
  for (auto& channel : alone.lit)
    channel.far.reset();
  book.look(alone, {});
  EXPECT_THAT(
      ladder_json(book.open(), rx),
      HasSubstr(R"("point":"farLine","unit":"dBm","expected":"unknown","measured":"unknown",)"
                R"("difference":"unknown","basis":"unknown: something is missing of the line)"));
}

}  // namespace
