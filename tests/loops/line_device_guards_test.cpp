// A line whose own devices lie, lose writes or fall silent: unknown values move neither attenuator
// nor gain, and lost writes are made up for.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <utility>

#include "tests/loops/bars/pair_case.h"

namespace {

using namespace std::chrono_literals;
using sim::reading_fault;
using sim::write_fault;
using test::plant_node;

/// Leaves room for the attenuator, or for the gain.
constexpr double length_km = 40.0;

class faced_node {
 public:
  explicit faced_node(const sim::topology& topology) : node(topology) {
    node.face_far_end();
    node.start();
    node.add_channels();
  }

  double voa() { return node.plant().voa_attenuation_db(0); }
  double gain() { return node.plant().amplifier_gain_db(0, sim::direction::tx); }

  plant_node node;
};

// Faults of an attenuator, how far from its aim the line may then rest, and how often it is written
// in ten minutes of rest.
struct bad_voa {
  const char* name;
  std::optional<reading_fault> reading{};
  std::optional<write_fault> write{};
  double step_db = 0.1;
  double rest_db = 0.9;
  unsigned writes = 1;
};

class line_voa : public testing::TestWithParam<bad_voa> {};

INSTANTIATE_TEST_SUITE_P(
    that, line_voa,
    testing::Values(bad_voa{.name = "loses_every_second_write",
                            .write = write_fault::lost().each(2)},
                    bad_voa{.name = "moves_late", .write = write_fault::late(1500ms)},
                    bad_voa{.name = "trembles", .reading = reading_fault::trembling(0.02)},
                    // What it rounds away is carried over from step to step.
                    bad_voa{.name = "has_coarse_steps", .step_db = 0.5, .rest_db = 1.05},
                    // It may be anywhere, and is not moved away from where it was last asked to be.
                    bad_voa{.name = "reads_back_nothing_new",
                            .reading = reading_fault::frozen(),
                            .rest_db = 3.0,
                            .writes = 10}),
    [](const auto& which) { return std::string(which.param.name); });

TEST_P(line_voa, follows_the_span_and_rests) {
  const auto& bad = GetParam();
  auto topology = test::facing("orvalite", "orva-lite", length_km);
  topology.nodes[0].voa.step_db = bad.step_db;
  faced_node it(topology);
  it.node.run_for(5min);
  auto& plant = it.node.plant();
  if (bad.reading) plant.set_reading_fault(0, "voa_sfp", "data/attenuation", *bad.reading);
  if (bad.write) plant.set_write_fault(0, "voa_sfp", "config/attenuation", *bad.write);
  plant.set_span_offset(0, 3.0);
  it.node.run_for(6min);
  EXPECT_LT(std::fabs(bars::line_error(it.node, 0)), bad.rest_db);
  const auto writes = plant.writes(0, "voa_sfp");
  it.node.run_for(10min);
  EXPECT_LE(plant.writes(0, "voa_sfp"), writes + bad.writes);
}

TEST(embedded_line, counts_a_setting_as_made_when_the_attenuator_shows_it) {
  const auto topology = test::facing("orvalite", "tarn-one", length_km);
  faced_node good(topology);
  good.node.run_for(3min);
  faced_node bad(topology);
  bad.node.plant().set_write_fault(0, "voa_sfp", "config/attenuation", write_fault::lost(), 40s);
  bad.node.plant().set_write_fault(0, "preamp", "config/gain", write_fault::lost(), 40s);
  bad.node.run_for(3min);
  EXPECT_NEAR(bad.voa(), good.voa(), 0.5);
  EXPECT_NEAR(bad.gain(), good.gain(), 0.5);
}

}  // namespace
