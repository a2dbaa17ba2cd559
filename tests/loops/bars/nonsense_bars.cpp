// Impossible numbers, and text, in place of the readings used by the loops: those of our own
// devices and of the peer.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tests/loops/bars/node_case.h"

namespace bars {

namespace {

using sim::reading_fault;

constexpr const char* peer_address = "[fe80::2%osc0]:5100";
constexpr const char* nonsense[] = {"-99", "-999", "60", "999", "1e30", "\"text\""};

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
      {1, "peer", "data/client/tx/edfaSaturation"},
      {1, "peer", "data/client/tx/edfaCalibration"},
      {1, "peer", "data/client/*/tx/ocm/power"},
      {1, "peer", "data/spanloss/*/tx"},
      {1, "peer", "data/spanloss/*/rx"},
      {1, "peer", "data/line/1/tx/totalPower"},
  };
  if (has_voa(model)) all.push_back({0, "voa_sfp", "data/attenuation"});
  return all;
}

/// The peer's family: the one that the model works with best.
std::string peer_of(const std::string& model) {
  if (model == "selkamin") return "selka-min";
  if (model == "selkaplus") return "selka-plus";
  return model == "orvapro" ? "orva-pro" : "orva-lite";
}

/// Everything that the node can move.
class stand {
 public:
  explicit stand(plant_node& node) : node_(node) { take(values_); }
  double largest_move() const {
    std::vector<double> now;
    take(now);
    double largest = 0.0;
    for (std::size_t i = 0; i < now.size(); ++i)
      largest = std::max(largest, std::fabs(now[i] - values_[i]));
    return largest;
  }

 private:
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

figures one_value(const std::string& model, std::uint64_t seed, const char* value) {
  auto what = lit_topology(model, seed);
  what.peer = peer_of(model);
  plant_node node(what);
  node.network().attach(peer_address, node.plant().nexel_tree("peer", 1));
  node.start();
  node.add_channels();
  node.run_for(6min);
  double worst = 0.0;
  for (const auto& [where, device, path] : readings_of(model, node.channels()[4])) {
    // For one pass of the monitor, and for some time.
    for (const auto time : {1s, 20s}) {
      const stand before(node);
      node.plant().set_reading_fault(where, device, path, reading_fault::replaced(value), time);
      double moved = 0.0;
      for (const auto begin = node.now(); node.now() - begin < time + 5s; node.run_for(500ms))
        moved = std::max(moved, before.largest_move());
      worst = std::max(worst, moved);
    }
  }
  node.network().detach(peer_address);
  return {worst};
}

figures every_value(const std::string& model, std::uint64_t seed) {
  figures found;
  for (const char* value : nonsense)
    found.push_back(one_value(model, seed, value).front());
  return found;
}

}  // namespace

std::vector<bar> nonsense_bars() {
  // Noise may at any time move a channel or line that rests at the edge of its dead band out of it,
  // which costs at most half a dB.
  constexpr double noise_db = 0.6;
  return {{"nonsense",
           "numbers that nothing measures, and text, told for a second or longer",
           {{"dB moved at -99", noise_db},
            {"dB moved at -999", noise_db},
            {"dB moved at 60", noise_db},
            {"dB moved at 999", noise_db},
            {"dB moved at 1e30", noise_db},
            {"dB moved at text", noise_db}},
           all_models,
           every_value}};
}

}  // namespace bars
