// Every number that a node shows at rest, compared with the plant's truth: the instruments' errors
// and the board's calibration may not cause more difference than a row allows. A number without a
// row fails, unless it is listed as having no truth.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cmath>

#include "platform/value_tree/nx_db_node.h"
#include "tests/support/plant_node.h"
#include "tests/support/plant_pair.h"
#include "tests/support/tree_values.h"

namespace {

using namespace std::chrono_literals;
using sim::direction;
using sim::measuring_point;
using sim::tap;

double sum_dbm(double first, double second) {
  return 10.0 * std::log10(std::pow(10.0, first / 10.0) + std::pow(10.0, second / 10.0));
}

/// The plant's truth for a path of node 0.
struct place {
  const sim::plant& plant;
  direction side;    ///< of the path
  unsigned channel;  ///< key; 0 where the path has none

  bool is_rx() const { return side == direction::rx; }
  const sim::topology& all() const { return plant.get_topology(); }
  const sim::node_settings& settings() const { return all().nodes.front(); }
  const sim::fibre_settings& fibre() const { return all().fibres[is_rx() ? 1 : 0]; }
  const sim::monitor_settings& monitor() const {
    return is_rx() ? settings().booster_monitor : settings().preamp_monitor;
  }
  double tap_offset(tap which) const {
    return settings().taps[static_cast<std::size_t>(which)].offset_db;
  }
  double at(measuring_point where, unsigned node = 0) const {
    return plant.channel_power_dbm(node, where, channel);
  }
  /// At a fibre's connector, `rx` being what this node receives.
  double line() const {
    return plant.total_power_dbm(
        0, is_rx() ? measuring_point::line_input : measuring_point::line_output);
  }
  double far_line() const {
    return plant.total_power_dbm(
        1, is_rx() ? measuring_point::line_output : measuring_point::line_input);
  }
  double osc_sent() const { return settings().osc.tx_power_dbm - settings().line_output_filter_db; }
  double osc_loss() const {
    return plant.span_loss_db(is_rx() ? 1 : 0) +
           settings().osc.extra_loss_db_per_km * fibre().length_km;
  }
  double osc_received() const { return osc_sent() - osc_loss(); }
  double line_osc() const { return is_rx() ? osc_received() : osc_sent(); }
  double total() const { return sum_dbm(line(), line_osc()); }
  double far_total() const { return sum_dbm(far_line(), is_rx() ? osc_sent() : osc_received()); }
  double total_loss() const { return std::fabs(total() - far_total()); }
  double evenly_shared_limit() const {
    return settings().booster.power_limit_dbm -
           10.0 * std::log10(static_cast<double>(plant.channels().size()));
  }
};

struct row {
  const char* path;
  double within;
  bool needs_peer;
  double (*truth)(const place&);
};

constexpr bool of_peer = true;
constexpr bool own = false;

// clang-format off
const row rows[] = {
    {"data/client/*/rx/power", 0.6, own, [](const place& p) { return p.at(measuring_point::laser); }},
    // On orvakinet the monitor sees the switch's attenuation, and the calibration counts 5 dB of it.
    {"data/client/*/tx/power", 0.8, own, [](const place& p) { return p.at(measuring_point::client_output); }},
    {"data/client/*/rx/ocm/power", 0.3, own, [](const place& p) {
       return p.at(measuring_point::booster_output) - p.monitor().tap_loss_db + p.monitor().offset_db; }},
    {"data/client/*/tx/ocm/power", 0.3, own, [](const place& p) {
       return p.at(measuring_point::preamp_output) - p.monitor().tap_loss_db + p.monitor().offset_db; }},
    {"data/client/*/*/attenuation", 0.1, own, [](const place& p) {
       return p.plant.switch_attenuation_db(0, p.side, p.channel); }},
    {"data/client/*/*/waveLength", 0.01, own, [](const place& p) { return 299792448.0 / (p.channel / 100.0); }},
    {"data/client/*/rx/lineTxPower", 0.5, own, [](const place& p) { return p.at(measuring_point::line_output); }},
    {"data/client/*/rx/remoteTxPower", 0.6, of_peer, [](const place& p) { return p.at(measuring_point::client_output, 1); }},
    {"data/client/*/tx/remoteRxPower", 0.6, of_peer, [](const place& p) { return p.at(measuring_point::laser, 1); }},
    // Within the filter of orvapro's compensator, as the monitor does not see it.
    {"data/client/*/tx/osnr", 1.5, of_peer, [](const place& p) { return p.plant.channel_osnr_db(0, p.channel); }},
    {"data/client/*/tx/remoteOsnr", 1.5, of_peer, [](const place& p) { return p.plant.channel_osnr_db(1, p.channel); }},
    {"data/client/*/edfaCalibration", 0.3, own, [](const place& p) {
       return p.monitor().tap_loss_db - p.monitor().offset_db +
              p.tap_offset(p.is_rx() ? tap::booster_output : tap::preamp_output); }},
    {"data/client/*/edfaSaturation", 0.2, own, [](const place& p) {
       return p.plant.amplifier_saturation_db(0, p.side); }},
    {"data/client/rx/targetPower", 0.01, own, [](const place& p) { return p.evenly_shared_limit(); }},
    {"data/client/rx/remoteTargetPower", 0.01, of_peer, [](const place& p) { return p.evenly_shared_limit(); }},
    {"data/preamp/gain", 0.2, own, [](const place& p) { return p.plant.amplifier_gain_db(0, direction::tx); }},
    {"data/preamp/gainDefault", 0.01, own, [](const place& p) { return p.settings().preamp.gain_db; }},
    {"data/preamp/plim", 0.01, own, [](const place& p) { return p.settings().preamp.power_limit_dbm; }},
    {"data/line/1/*/power", 0.25, own, [](const place& p) { return p.line(); }},
    {"data/line/1/*/totalPower", 0.25, own, [](const place& p) { return p.total(); }},
    {"data/line/1/*/osc/power", 0.15, own, [](const place& p) { return p.line_osc(); }},
    {"data/line/1/*/loss", 0.5, of_peer, [](const place& p) { return p.total_loss(); }},
    {"data/line/1/*/osc/loss", 0.3, of_peer, [](const place& p) { return p.osc_loss(); }},
    {"data/line/1/rx/length", 0.1, own, [](const place& p) { return p.fibre().length_km; }},
    {"data/line/1/tx/length", 0.1, of_peer, [](const place& p) { return p.fibre().length_km; }},
    {"data/line/1/attenuation", 0.01, of_peer, [](const place& p) { return p.total_loss() / p.fibre().length_km; }},
    {"data/line/1/remoteAttenuation", 0.01, of_peer, [](const place& p) { return p.total_loss() / p.fibre().length_km; }},
    {"data/line/1/rx/remoteTxPower", 0.25, of_peer, [](const place& p) { return p.far_total(); }},
    {"data/line/1/tx/remoteRxPower", 0.25, of_peer, [](const place& p) { return p.far_total(); }},
    {"data/spanloss/*/*", 0.5, of_peer, [](const place& p) { return p.plant.span_loss_db(p.is_rx() ? 1 : 0); }},
    {"interface/line/1/data/length", 0.1, own, [](const place& p) { return p.fibre().length_km; }},
    {"interface/line/1/data/remoteLength", 0.1, of_peer, [](const place& p) { return p.fibre().length_km; }},
    {"interface/line/1/data/dispersion", 5.0, own, [](const place& p) {
       return p.fibre().dispersion_ps_per_nm_km * p.fibre().length_km; }},
    {"interface/line/1/data/remoteDispersion", 5.0, of_peer, [](const place& p) {
       return p.fibre().dispersion_ps_per_nm_km * p.fibre().length_km; }},
    {"interface/line/1/data/osc/*/power", 0.15, own, [](const place& p) { return p.line_osc(); }},
    {"interface/line/1/data/osc/rx/remotePower", 0.15, of_peer, [](const place& p) { return p.osc_received(); }},
    {"interface/line/1/data/osc/tx/remotePower", 0.15, of_peer, [](const place& p) { return p.osc_sent(); }},
    {"interface/line/1/data/osc/loss", 0.3, of_peer, [](const place& p) { return p.osc_loss(); }},
    {"interface/line/1/data/osc/remoteLoss", 0.3, of_peer, [](const place& p) { return p.osc_loss(); }},
    {"interface/line/1/data/osc/attenuation", 0.01, of_peer, [](const place& p) { return p.osc_loss() / p.fibre().length_km; }},
    {"interface/line/1/data/osc/remoteAttenuation", 0.01, of_peer, [](const place& p) { return p.osc_loss() / p.fibre().length_km; }},
    {"local/interface/line/1/data/dispersion/rx/osc", 5.0, own, [](const place& p) {
       return p.fibre().dispersion_ps_per_nm_km * p.fibre().length_km; }},
    {"insight/device/voa/attenuation", 0.06, own, [](const place& p) { return p.plant.voa_attenuation_db(0); }},
    {"insight/device/booster/outputPower", 0.2, own, [](const place& p) {
       return p.plant.total_power_dbm(0, measuring_point::booster_output); }},
    {"insight/device/preamp/outputPower", 0.2, own, [](const place& p) {
       return p.plant.total_power_dbm(0, measuring_point::preamp_output); }},
    {"insight/device/osc/fibreLength", 0.5, own, [](const place& p) { return p.all().fibres[1].length_km; }},
};

/// Wanted, planned or reported values, and internal ones of the loop.
const char* const without_truth[] = {
    "config/**", "data/client/*/*/defaultAttenuation", "data/client/*/*/wantedPowerOffset",
    "data/client/*/*/targetOutputPower", "data/client/*/*/width", "data/system/utilization",
    "data/line/1/remoteUtilization", "data/line/1/rx/targetPower", "data/line/1/rx/remoteTargetPower",
    "data/line/lmsError", "data/line/lmsStepSize", "interface/line/1/remote/**",
    "local/interface/line/1/data/dispersion/rx/*", "remote/**", "insight/**"};
// clang-format on

/// Every fifth channel dark: what the noise is measured on.
std::vector<unsigned> lit_channels(const std::string& product) {
  std::vector<unsigned> lit;
  const auto channels = sim::plant(sim::default_topology(product)).channels();
  for (std::size_t i = 0; i < channels.size(); ++i) {
    if (i % 5 != 2) lit.push_back(channels[i]);
  }
  return lit;
}

sim::topology partly_lit(const std::string& product, unsigned nodes) {
  auto topology = sim::default_topology(product, nodes);
  for (auto& node : topology.nodes)
    node.lit = lit_channels(product);
  return topology;
}

bool is_number(nx_db& tree, const std::string& path) {
  rapidjson::Document record;
  record.CopyFrom(tree.find(path)->get_info(record.GetAllocator()), record.GetAllocator());
  return record["valueType"] == "float";
}

/// The channel of a path below "client": its key, or its place in the plan.
unsigned channel_of(const std::string& path, const std::vector<unsigned>& channels) {
  const auto start = path.find("client/");
  if (start == std::string::npos) return 0;
  const auto id = static_cast<unsigned>(std::strtoul(path.c_str() + start + 7, nullptr, 10));
  return id > 0 && id <= channels.size() ? channels[id - 1] : id;
}

void compare(nx_db& tree, const sim::plant& plant, bool has_peer) {
  const auto lit = *plant.get_topology().nodes.front().lit;
  for (const auto& path : tree.list("", true)) {
    if (!is_number(tree, path)) continue;
    const auto fits = [&](const char* pattern) { return nx_db::matches(pattern, path); };
    const auto found = std::ranges::find_if(rows, fits, &row::path);
    if (found == std::end(rows)) {
      EXPECT_TRUE(std::ranges::any_of(without_truth, fits)) << path << " has no row";
      continue;
    }
    const unsigned channel = channel_of(path, plant.channels());
    if (channel != 0 && std::ranges::find(lit, channel) == lit.end()) continue;
    if (found->needs_peer && !has_peer) continue;
    const bool is_tx = path.find("/tx") != std::string::npos;
    const place here{plant, is_tx ? direction::tx : direction::rx, channel};
    EXPECT_NEAR(test::number_of(tree, path), found->truth(here), found->within) << path;
  }
}

class true_numbers : public testing::TestWithParam<std::string> {};

TEST_P(true_numbers, of_a_node_alone) {
  test::plant_node node(partly_lit(GetParam(), 1));
  node.start();
  node.add_channels();
  node.run_for(3min);
  compare(node.tree(), node.plant(), false);
}

INSTANTIATE_TEST_SUITE_P(models, true_numbers, testing::ValuesIn(models::names()),
                         [](const auto& of) { return of.param; });

class true_numbers_of_a_line : public testing::TestWithParam<std::string> {};

TEST_P(true_numbers_of_a_line, between_two_nodes) {
  test::plant_pair pair(partly_lit(GetParam(), 2));
  pair.start();
  pair.run_for(5min);
  compare(pair.tree(0), pair.plant(), true);
}

INSTANTIATE_TEST_SUITE_P(models, true_numbers_of_a_line, testing::Values("orvalite", "orvapro"),
                         [](const auto& of) { return of.param; });

TEST(osnr_of_a_full_band, is_none) {
  test::plant_node node("orvalite");
  node.start();
  node.run_for(20s);
  for (const auto channel : node.channels())
    EXPECT_EQ(node.number(fmt::format("data/client/{}/tx/osnr", channel)), 0.0f) << channel;
}

}  // namespace
