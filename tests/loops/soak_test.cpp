// Days of faults on two managers face to face, in plant time and with fixed seeds. A day is
// compressed into two hours: overnight drift, incidents one after the other and two at a time, then
// rest, and a final check. The test program runs one day; LUMORA_SOAK_DAYS sets another number.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <valarray>

#include "base/channel/control/regulation.h"
#include "base/insight/event_log.h"
#include "tests/loops/bars/pair_case.h"
#include "tests/loops/incidents.h"
#include "tests/support/process_figures.h"
#include "tools/insight/event_text.h"

namespace {

using namespace std::chrono_literals;
using test::incident;

// A day's monitor offset and tap error, repeatability of the switch, noise and dead band, together.
constexpr double rest_db = 0.85;
// Steps due because of readings from before an incident.
constexpr unsigned due_steps = 4;
// Drift between amplifier and monitor is learned as the mean of six readings, each five minutes
// after the last one and the last step. So after a day with drift and incidents the calibration
// moves for half an hour or more, all channels of a node with it, and channels that it carries over
// their edge postpone the next reading.
constexpr double settled_db = 0.02;
// Of the 128 attenuators, in the ten minutes after that. The law leaves a channel wherever in its
// dead band an incident put it, so some are at the edge, and each reading is another chance for the
// monitor's noise to carry one across. Such a step starts just outside the dead band and ends in
// the middle of it, so no second one follows.
constexpr unsigned most_at_the_edge = 6;
constexpr float beyond_dead_band_db = 0.1f;
// Heap in use: it varies by half of this with the length of the histories, which restart with each
// manager. Resident memory says less: each restarted manager has new threads, and the arenas in
// which they allocated keep what they freed.
constexpr double flat_mib = 1.0;

class soak : public testing::Test {
 protected:
  soak() : pair_(sim::default_topology("orvalite", 2)) {}

  void run_day(unsigned day) {
    SCOPED_TRACE(fmt::format("day {}", day));
    story_.clear();
    test::incident_source source(pair_, day);
    source.drift();
    pair_.run_for(2min);
    constexpr unsigned incidents = 9;
    for (unsigned i = 0; i < incidents && !HasFailure(); ++i)
      run_incident(source);
    EXPECT_TRUE(settles()) << story_;
    expect_rest();
    exam(day);
    tell(day);
  }

  void run_incident(test::incident_source& source) {
    std::vector<incident> at_once{source.draw()};
    auto second = source.draw();
    if (!at_once.front().alone && !second.alone && source.below(3) == 0) {
      at_once.push_back(std::move(second));
    }
    const bool light_as_it_was = std::all_of(
        at_once.begin(), at_once.end(), [](const auto& one) { return one.leaves_light_alone; });
    const bool rested = is_at_rest_for(15s);
    for (const auto& one : at_once) {
      story_ += fmt::format("{} s: {}\n", pair_.now() / 1s, one.name);
      one.begin();
    }
    const auto before = switch_writes();
    const double seconds = source.between(5.0, 150.0);
    pair_.run_for(std::chrono::milliseconds(static_cast<int>(seconds * 1000.0)));
    if (rested && light_as_it_was) {
      EXPECT_LE(switch_writes(), before + due_steps) << story_;
    }
    for (const auto& one : at_once)
      one.end();
    ++incidents_;
    pair_.run_for(std::chrono::seconds(20 + source.below(60)));
  }

  bool is_at_rest_for(std::chrono::seconds time) {
    const auto before = switch_writes();
    pair_.run_for(time);
    return switch_writes() == before;
  }

  /// Within two hours both calibrations match their next reading; then ten minutes more.
  bool settles() {
    for (int tries = 0; tries < 24; ++tries) {
      pair_.run_for(5min);
      if (calibration_lag(0) < settled_db && calibration_lag(1) < settled_db) {
        pair_.run_for(10min);
        return true;
      }
    }
    return false;
  }

  /// How far a node's calibration is from what it is learned from, as the mean of half a minute.
  double calibration_lag(unsigned node) {
    constexpr unsigned readings = 30;
    double sum = 0.0;
    for (unsigned i = 0; i < readings; ++i) {
      pair_.run_for(1s);
      sum += test::number_of(pair_.plant().nexel_tree("booster", node), "data/txPower") -
             test::number_of(pair_.plant().nexel_tree("wss_edge", node), "data/ocm/1/totalPower");
    }
    return std::fabs(sum / readings - pair_.number(node, "data/client/rx/edfaCalibration"));
  }

  void expect_rest() {
    pair_.take_log();
    const std::valarray<unsigned> before = writes_of_attenuators();
    const auto near = pair_.plant().voa_writes(0);
    const auto far = pair_.plant().voa_writes(1);
    pair_.run_for(10min);
    const std::valarray<unsigned> steps = writes_of_attenuators() - before;
    EXPECT_LE(steps.max(), 1u) << "an attenuator hunts\n" << story_;
    EXPECT_LE(steps.sum(), most_at_the_edge) << story_;
    EXPECT_EQ(steps_of_unrest(), "") << story_;
    EXPECT_LE(pair_.plant().voa_writes(0), near + 1) << story_;
    EXPECT_LE(pair_.plant().voa_writes(1), far + 1) << story_;
    for (unsigned node : {0u, 1u}) {
      EXPECT_EQ(off_target(node), "") << "node " << node << '\n' << story_;
      EXPECT_LT(std::fabs(bars::line_error(pair_, node)), 0.85) << "node " << node << '\n'
                                                                << story_;
    }
  }

  /// The steps since the log was taken that are not explained by a channel at the edge of its dead
  /// band.
  std::string steps_of_unrest() {
    std::string found;
    for (const auto& line : pair_.take_log()) {
      const auto at = line.find("current attenuation: ");
      float attenuation = 0.0f, change = 0.0f, difference = 0.0f;
      if (at == line.npos ||
          std::sscanf(line.c_str() + at,
                      "current attenuation: %f attenuation change: %f power difference: %f",
                      &attenuation, &change, &difference) != 3) {
        continue;
      }
      if (std::fabs(difference) > channel::control::dead_band(attenuation) + beyond_dead_band_db)
        found += line + '\n';
    }
    return found;
  }

  /// Afterwards the node does what it does when new.
  void exam(unsigned day) {
    auto& plant = pair_.plant();
    const unsigned node = day % 2;
    if (day % 3 == 0) {
      plant.cut_line();
      pair_.run_for(1min);
      plant.mend_line();
      ASSERT_TRUE(pair_.run_until([&] { return plant.osc_ready(0) && plant.osc_ready(1); }, 20s));
      EXPECT_TRUE(pair_.run_until([&] { return (off_target(0) + off_target(1)).empty(); }, 15s))
          << off_target(0) << off_target(1) << story_;
    } else if (day % 3 == 1) {
      plant.dark_band(node);
      pair_.run_for(30s);
      plant.fill_band(node);
      EXPECT_TRUE(pair_.run_until([&] { return off_target(node).empty(); }, 15s))
          << off_target(node) << story_;
    } else {
      plant.set_span_offset(node, 0.0);  // an incident may have left another
      pair_.run_for(90s);
      const auto writes = plant.voa_writes(node);
      plant.set_span_offset(node, 3.0);
      pair_.run_for(90s);
      EXPECT_GT(plant.voa_writes(node), writes) << story_;
      EXPECT_LT(std::fabs(bars::line_error(pair_, node)), 0.85) << story_;
      plant.set_span_offset(node, 0.0);
    }
  }

  void tell(unsigned day) {
    const auto own = test::figures_of(::getpid());
    fmt::print(
        "day {:3}: {} incidents, {} switch and {} VOA writes, {:.2f} MiB in use, {:.1f} resident, "
        "{} "
        "descriptors, {} threads\n",
        day, incidents_, switch_writes(), pair_.plant().voa_writes(0) + pair_.plant().voa_writes(1),
        test::heap_in_use_mib(), own.resident_mib, own.descriptors, own.threads);
    std::fflush(stdout);
    write_events(day);
    pair_.take_log();
  }

  /// The day as printed by `lumoractl events`, of both nodes, for people who want to read it.
  void write_events(unsigned day) {
    auto& log = insight::event_log::instance();
    if (const char* file = std::getenv("LUMORA_SOAK_EVENTS")) {
      std::vector<tools::insight::event> told;
      for (const auto& each : log.events())
        told.push_back(*tools::insight::event_of(insight::json_of(each)));
      std::ofstream out(file, std::ios::app);
      out << "day " << day << '\n' << story_;
      for (const auto& line : tools::insight::event_lines(told, {}))
        out << line << '\n';
    }
    log.reset();
  }

  std::string off_target(unsigned node) {
    std::string found;
    for (const auto channel : pair_.channels()) {
      const double off_db = pair_.true_error(node, channel);
      if (std::fabs(off_db) > rest_db) found += fmt::format("{} by {:.2f} dB, ", channel, off_db);
    }
    return found;
  }

  /// In one order for all calls.
  std::valarray<unsigned> writes_of_attenuators() {
    std::vector<unsigned> writes;
    for (unsigned node : {0u, 1u}) {
      for (const auto side : {sim::direction::rx, sim::direction::tx}) {
        for (const auto channel : pair_.channels())
          writes.push_back(pair_.plant().channel_writes(node, side, channel).switch_attenuation);
      }
    }
    return {writes.data(), writes.size()};
  }
  unsigned switch_writes() { return writes_of_attenuators().sum(); }

  test::plant_pair pair_;
  std::string story_;
  unsigned incidents_ = 0;
};

TEST_F(soak, days_of_faults_end_at_rest) {
  const char* setting = std::getenv("LUMORA_SOAK_DAYS");
  const unsigned days = setting != nullptr ? static_cast<unsigned>(std::atoi(setting)) : 1;
  pair_.start();
  pair_.run_for(10min);
  run_day(1);
  const auto before = test::figures_of(::getpid());
  const auto heap_before = test::heap_in_use_mib();
  for (unsigned day = 2; day <= days && !HasFailure(); ++day)
    run_day(day);
  const auto after = test::figures_of(::getpid());
  EXPECT_LT(test::heap_in_use_mib(), heap_before + flat_mib);
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_EQ(after.threads, before.threads);
}

TEST_F(soak, a_thousand_absences_leave_nothing_behind) {
  pair_.start();
  pair_.run_for(1min);
  test::incident_source source(pair_, 1000);
  const auto repeat = [&](unsigned times) {
    for (; times > 0; --times) {
      const auto absence = source.draw_absence();
      absence.begin();
      pair_.run_for(400ms);
      absence.end();
      pair_.run_for(600ms);
    }
    pair_.run_for(30s);
    pair_.take_log();
  };
  repeat(100);
  const auto before = test::figures_of(::getpid());
  const auto heap_before = test::heap_in_use_mib();
  repeat(1000);
  const auto after = test::figures_of(::getpid());
  EXPECT_LT(test::heap_in_use_mib(), heap_before + flat_mib);
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_EQ(after.threads, before.threads);
  pair_.run_for(2min);
  EXPECT_EQ(off_target(0) + off_target(1), "");
}

}  // namespace
