// Impossible numbers, and text, in place of the readings used by the loops: those of our own
// devices and of the peer.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tests/loops/bars/node_case.h"

namespace bars {

namespace {

using sim::reading_fault;

struct value {
  const char* name;
  std::vector<const char*> json;
};
const value nonsense[] = {
    {"-99", {"-99"}}, {"-999", {"-999"}},           {"60", {"60"}},
    {"999", {"999"}}, {"1e30", {"1e30", "-1e300"}}, {"text", {"\"NaN\"", "[]"}}};

struct told {
  unsigned node;
  std::string device;
  std::string path;
};

std::vector<told> readings_of(const std::string& model, unsigned channel) {
  const auto name = fmt::format("{}", channel);
  std::vector<told> all{
      {0, monitor_device(model), power_path(model, name)},
      {0, monitor_device(model), power_path(model, "*")},
      {0, switch_device(model), attenuation_path(model, "data", name)},
      {0, switch_device(model), attenuation_path(model, "data", "*")},
      {0, "booster", "data/powerLimit"},
      {0, "booster", "data/txPower"},
      {0, "booster", "data/actualGain"},
      {0, "booster", "data/gain"},
      {0, "preamp", "data/powerLimit"},
      {0, "preamp", "data/rxPower"},
      {0, "preamp", "data/txPower"},
      {0, "preamp", "data/actualGain"},
      {0, "preamp", "data/gain"},
      {0, "osc1", "data/fiberLength"},
      {0, "sfp/0", "data/rxPower"},
      {0, "sfp/0", "data/txPower"},
      {0, "preamp", "data/gainDefault"},
      {0, "preamp", "data/gainMinThreshold"},
      {0, "preamp", "data/gainMaxThreshold"},
      {1, "peer", "data/client/tx/edfaSaturation"},
      {1, "peer", "data/client/tx/edfaCalibration"},
      {1, "peer", "data/client/*/tx/ocm/power"},
      {1, "peer", "data/preamp/*"},
      {1, "peer", "interface/line/1/data/osc/rx/power"},
      {1, "peer", "data/spanloss/*/tx"},
      {1, "peer", "data/spanloss/*/rx"},
      {1, "peer", "data/line/1/tx/totalPower"},
      {1, "peer", "data/neighbour/edfa/minGain"},
  };
  for (const char* path : {"data/attenuation", "data/insertionLoss"})
    if (has_voa(model)) all.push_back({0, "voa_sfp", path});
  return all;
}

/// The peers' families: the one that the model works with best, and one without channels.
std::vector<std::string> peers_of(const std::string& model) {
  if (model == "selkamin") return {"selka-min"};
  if (model == "selkaplus") return {"selka-plus"};
  if (model == "orvalite") return {"orva-lite", "tarn-one"};
  return {model == "orvapro" ? "orva-pro" : "orva-lite"};
}

struct moves {
  double line_db = 0.0;  ///< of the VOA or the preamp's gain
  double any_db = 0.0;   ///< of these or an attenuator of a switch

  void take_worse(const moves& other) {
    line_db = std::max(line_db, other.line_db);
    any_db = std::max(any_db, other.any_db);
  }
};

/// Everything that the node can move.
class stand {
 public:
  explicit stand(plant_node& node) : node_(node) { take(values_); }
  moves largest_moves() const {
    std::vector<double> now;
    take(now);
    moves largest;
    for (std::size_t i = 0; i < now.size(); ++i) {
      const double by_db = std::fabs(now[i] - values_[i]);
      largest.take_worse({.line_db = i < line_values ? by_db : 0.0, .any_db = by_db});
    }
    return largest;
  }

 private:
  static constexpr std::size_t line_values = 2;
  void take(std::vector<double>& into) const {
    const auto& plant = node_.plant();
    into.push_back(plant.voa_attenuation_db(0));
    into.push_back(plant.amplifier_gain_db(0, sim::direction::tx));
    for (const auto side : {sim::direction::rx, sim::direction::tx}) {
      for (const auto channel : node_.channels())
        into.push_back(plant.switch_attenuation_db(0, side, channel));
    }
  }

  plant_node& node_;
  std::vector<double> values_;
};

moves moves_by(const std::string& model, const std::string& peer, std::uint64_t seed,
               const char* json) {
  auto what = lit_topology(model, seed);
  what.peer = peer;
  plant_node node(what);
  node.face_far_end();
  node.start();
  node.add_channels();
  node.run_for(6min);
  moves worst;
  for (const auto& [where, device, path] : readings_of(model, node.channels()[4])) {
    // For one pass of the monitor, and for some time.
    for (const auto time : {1s, 20s}) {
      const stand before(node);
      node.plant().set_reading_fault(where, device, path, reading_fault::replaced(json), time);
      for (const auto begin = node.now(); node.now() - begin < time + 5s; node.run_for(500ms))
        worst.take_worse(before.largest_moves());
    }
  }
  // Sense is believed again.
  const auto channel = node.channels()[5];
  node.disturb(channel, 1.5);
  require(node.run_until([&] { return node.on_target(channel); }, 15s), "no channel is regulated");
  require(node.run_until([&] { return node.is_fully_operational(); }, 15s), "a loop stays down");
  return worst;
}

figures every_value(const std::string& model, std::uint64_t seed) {
  figures found;
  double line_db = 0.0;
  for (const auto& value : nonsense) {
    moves worst;
    for (const char* json : value.json) {
      for (const auto& peer : peers_of(model))
        worst.take_worse(moves_by(model, peer, seed, json));
    }
    found.push_back(worst.any_db);
    line_db = std::max(line_db, worst.line_db);
  }
  found.push_back(line_db);
  return found;
}

}  // namespace

std::vector<bar> nonsense_bars() {
  // Noise may at any time move a channel or line that rests at the edge of its dead band out of it,
  // which costs at most half a dB.
  constexpr double noise_db = 0.6;
  constexpr double line_noise_db = 0.25;
  return {{"nonsense",
           "numbers that nothing measures, and text, told for a second or longer",
           {{"dB moved at -99", noise_db},
            {"dB moved at -999", noise_db},
            {"dB moved at 60", noise_db},
            {"dB moved at 999", noise_db},
            {"dB moved at 1e30", noise_db},
            {"dB moved at text", noise_db},
            {"dB of these of VOA or gain", line_noise_db}},
           all_models,
           every_value}};
}

}  // namespace bars
