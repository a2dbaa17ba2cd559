// A line whose own devices lie, lose writes or fall silent: unknown values move neither attenuator
// nor gain, and lost writes are made up for.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <utility>

#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"
#include "tests/support/plant_pair.h"

namespace {

using namespace std::chrono_literals;
using sim::reading_fault;
using sim::write_fault;
using test::plant_node;

constexpr const char* peer_address = "[fe80::2%osc0]:5100";

sim::topology facing(const std::string& product, const char* peer) {
  auto topology = sim::default_topology(product);
  // Leaves room for the attenuator, or for the gain.
  for (auto& fibre : topology.fibres)
    fibre.length_km = models::get(product).kin == models::family::selka ? 80.0 : 40.0;
  topology.peer = peer;
  return topology;
}

class faced_node {
 public:
  faced_node(const std::string& product, const char* peer) : faced_node(facing(product, peer)) {}
  explicit faced_node(const sim::topology& topology) : node(topology) {
    node.network().attach(peer_address, node.plant().nexel_tree("peer", 1));
    node.start();
    node.add_channels();
  }
  ~faced_node() { node.network().detach(peer_address); }

  double voa() { return node.plant().voa_attenuation_db(0); }
  unsigned writes() { return node.plant().voa_writes(0); }
  double gain() { return node.plant().amplifier_gain_db(0, sim::direction::tx); }

  plant_node node;
};

struct told {
  unsigned node;
  const char* device;
  const char* path;
};

// The readings used by the line, its own and the peer's; each pair has some of them.
constexpr told line_readings[] = {
    {0, "voa_sfp", "data/attenuation"},
    {0, "voa_sfp", "data/insertionLoss"},
    {0, "booster", "data/powerLimit"},
    {0, "booster", "data/txPower"},
    {0, "preamp", "data/rxPower"},
    {0, "preamp", "data/gain"},
    {0, "preamp", "data/gainDefault"},
    {0, "preamp", "data/gainMinThreshold"},
    {0, "preamp", "data/gainMaxThreshold"},
    {0, "sfp/0", "data/rxPower"},
    {0, "sfp/0", "data/txPower"},
    {1, "peer", "data/client/tx/edfaSaturation"},
    {1, "peer", "data/client/tx/edfaCalibration"},
    {1, "peer", "data/client/*/tx/ocm/power"},
    {1, "peer", "data/preamp/*"},
    {1, "peer", "interface/line/1/data/osc/rx/power"},
    {1, "peer", "data/line/1/tx/totalPower"},
    {1, "peer", "data/spanloss/*/tx"},
    {1, "peer", "data/spanloss/*/rx"},
    {1, "peer", "data/neighbour/edfa/minGain"},
};
constexpr const char* nonsense[] = {"-99", "-999", "60", "999", "1e30", "\"text\""};

using product_and_peer = std::pair<const char*, const char*>;

class line_that_is_told_nonsense : public testing::TestWithParam<product_and_peer> {};

INSTANTIATE_TEST_SUITE_P(each, line_that_is_told_nonsense,
                         testing::Values(product_and_peer{"orvalite", "orva-lite"},
                                         product_and_peer{"orvamax", "orva-lite"},
                                         product_and_peer{"orvapro", "orva-pro"},
                                         product_and_peer{"orvalite", "tarn-one"},
                                         product_and_peer{"selkamin", "selka-min"},
                                         product_and_peer{"selkaplus", "selka-plus"}),
                         [](const auto& pair) {
                           return fmt::format("{}_{}", pair.param.first,
                                              pair.param.second[0] == 't' ? "tarn" : "own_kind");
                         });

TEST_P(line_that_is_told_nonsense, moves_neither_attenuator_nor_gain) {
  faced_node it(GetParam().first, GetParam().second);
  it.node.run_for(5min);
  auto& plant = it.node.plant();
  for (const auto& [node, device, path] : line_readings) {
    for (const char* number : nonsense) {
      SCOPED_TRACE(fmt::format("{} of {} tells {}", path, device, number));
      const double voa = it.voa();
      const double gain = it.gain();
      plant.set_reading_fault(node, device, path, reading_fault::replaced(number), 5s);
      for (int second = 0; second < 8; ++second) {
        it.node.run_for(1s);
        // Noise at the edge of its rest may cost the line a step of 0.16 dB at any time, and that
        // of its taps a selka one of 0.1 dB.
        ASSERT_NEAR(it.voa(), voa, 0.25) << second;
        ASSERT_NEAR(it.gain(), gain, 0.25) << second;
      }
    }
  }
  EXPECT_TRUE(it.node.run_until([&] { return it.node.is_fully_operational(); }, 15s));
}

TEST(nonsense_on_the_line, does_not_stop_its_alarms) {
  faced_node it("orvalite", "orva-lite");
  it.node.run_for(1min);
  auto& plant = it.node.plant();
  plant.set_reading_fault(0, "voa_sfp", "data/attenuation", reading_fault::failed());
  plant.set_reading_fault(1, "peer", "data/client/tx/edfaCalibration", reading_fault::missing());
  it.node.run_for(10s);
  plant.cut_fibre(1);
  EXPECT_TRUE(it.node.run_until(
      [&] { return it.node.number("alarms/line/1/rx/lossOfSignal/severity") == 1; }, 10s));
}

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
  auto topology = facing("orvalite", "orva-lite");
  topology.nodes[0].voa.step_db = bad.step_db;
  faced_node it(topology);
  it.node.run_for(5min);
  auto& plant = it.node.plant();
  if (bad.reading) plant.set_reading_fault(0, "voa_sfp", "data/attenuation", *bad.reading);
  if (bad.write) plant.set_write_fault(0, "voa_sfp", "config/attenuation", *bad.write);
  plant.set_span_offset(0, 3.0);
  it.node.run_for(6min);
  double error_db = 0.0;
  for (const auto channel : it.node.channels())
    error_db += plant.channel_power_dbm(1, sim::measuring_point::preamp_output, channel) - 5.0;
  error_db /= static_cast<double>(it.node.channels().size());
  EXPECT_LT(std::fabs(error_db), bad.rest_db);
  const auto writes = plant.writes(0, "voa_sfp");
  it.node.run_for(10min);
  EXPECT_LE(plant.writes(0, "voa_sfp"), writes + bad.writes);
}

TEST(line_voa_at_its_end, is_left_in_peace) {
  faced_node it("orvalite", "orva-lite");
  auto& plant = it.node.plant();
  plant.set_reading_fault(0, "voa_sfp", "data/attenuation", reading_fault::trembling(0.02));
  plant.set_span_offset(0, 14.0);
  it.node.run_for(6min);
  ASSERT_LT(it.voa(), 0.1);
  const auto writes = plant.writes(0, "voa_sfp");
  it.node.run_for(20min);
  EXPECT_EQ(plant.writes(0, "voa_sfp"), writes);
}

TEST(embedded_line, counts_a_setting_as_made_when_the_attenuator_shows_it) {
  faced_node good("orvalite", "tarn-one");
  good.node.run_for(3min);
  faced_node bad("orvalite", "tarn-one");
  bad.node.plant().set_write_fault(0, "voa_sfp", "config/attenuation", write_fault::lost(), 40s);
  bad.node.plant().set_write_fault(0, "preamp", "config/gain", write_fault::lost(), 40s);
  bad.node.run_for(3min);
  EXPECT_NEAR(bad.voa(), good.voa(), 0.5);
  EXPECT_NEAR(bad.gain(), good.gain(), 0.5);
}

/// Two selka nodes with their bands; the first is looked at.
class selka_gain : public testing::TestWithParam<const char*> {
 protected:
  selka_gain() : pair_(test::dark_topology(GetParam(), 2)) {}

  void SetUp() override {
    pair_.start();
    pair_.run_for(20s);
    for (unsigned node : {0u, 1u})
      add_channels(node);
    pair_.run_for(1min);
    ASSERT_EQ(pair_.text(0, "data/line/1/remoteProduct"),
              pair_.plant().get_topology().nodes[1].part_number);
  }

  void add_channels(unsigned node) {
    pair_.plant().fill_band(node);
    for (std::size_t i = 0; i < pair_.channels().size(); i += 4) {
      const auto centre = pair_.channels()[i];
      pair_.run_until([this] { return !pair_.clock().is_in_call(); }, 60s);
      test::run_at(pair_.tree(node), "command/channel/add",
                   fmt::format(R"({{"center":{},"width":10000,"port":2}})", centre));
      for (const char* side : {"rx", "tx"}) {
        pair_.write(node, fmt::format("config/client/{}/{}/opticalControlMode", centre, side),
                    "\"power\"");
      }
    }
  }
  double gain() { return pair_.plant().amplifier_gain_db(0, sim::direction::tx); }

  test::plant_pair pair_;
};

INSTANTIATE_TEST_SUITE_P(each, selka_gain, testing::Values("selkamin", "selkaplus"),
                         [](const auto& model) { return std::string(model.param); });

TEST_P(selka_gain, stays_with_a_dead_service_here_or_there) {
  auto& plant = pair_.plant();
  const double before = gain();
  const double voa = plant.voa_attenuation_db(0);
  for (unsigned node : {0u, 1u}) {
    for (const char* device : {"sfp/0", "preamp", "booster", "osc1", "voa_sfp"}) {
      for (const auto state : {sim::nexel_state::killed, sim::nexel_state::hung}) {
        SCOPED_TRACE(fmt::format("{} of node {}, {}", device, node,
                                 state == sim::nexel_state::killed ? "killed" : "hung"));
        plant.set_nexel_state(node, device, state);
        for (int i = 0; i < 100; ++i) {
          pair_.run_for(100ms);
          ASSERT_NEAR(gain(), before, 0.3) << i;
        }
        plant.set_nexel_state(node, device, sim::nexel_state::ok);
        pair_.run_for(5s);
        for (const char* path : {"data/spanloss/oms/rx", "data/spanloss/ots/rx",
                                 "data/spanloss/oms/tx", "data/spanloss/ots/tx"}) {
          EXPECT_NEAR(pair_.number(0, path), plant.span_loss_db(0), 1.5) << path;
        }
      }
    }
  }
  EXPECT_EQ(plant.voa_attenuation_db(0), voa);
  plant.set_span_offset(1, 3.0);
  pair_.run_for(10s);
  EXPECT_NEAR(gain() - before, 3.0, 0.4) << "a span that is known is followed";
}

}  // namespace
