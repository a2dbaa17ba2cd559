// Peers that fail while their preamp reads saturated, and dead services on a line.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tests/loops/bars/pair_case.h"

namespace bars {

namespace {

/// How far the attenuator closes after a failure that leaves no information, and after one of a
/// peer that still reports its preamp.
figures a_saturated_peer(const std::string& model, std::uint64_t seed) {
  // The preamp has a margin of 3 dB; orvapro tolerates 4 dB of saturation.
  const double missing_db = model == "orvapro" ? 6.0 : 2.8;
  plant_pair pair(pair_of(model, seed));
  bring_to_rest(pair, 3min);
  auto& plant = pair.plant();
  double silent_db = 0.0;
  double told_db = 0.0;
  auto phase = 100ms * seed;
  for (const auto what : peer_failures) {
    phase += 170ms;
    const auto writes = plant.voa_writes(0);
    plant.drop_power_limit(1, sim::direction::tx, 3.0 + missing_db, 0s);
    require(pair.run_until([&] { return plant.voa_writes(0) > writes; }, 15s),
            "it does not give way to a peer that is well");
    pair.run_for(phase);
    const double before = plant.voa_attenuation_db(0);
    begin(what, pair);
    double highest = before;
    for (const auto since = pair.now(); pair.now() - since < 1min; pair.run_for(100ms))
      highest = std::max(highest, plant.voa_attenuation_db(0));
    auto& worst = still_tells(what) ? told_db : silent_db;
    worst = std::max(worst, highest - before);
    end(what, pair);
    plant.drop_power_limit(1, sim::direction::tx, 0.0, 0s);
    pair.run_for(4min);
    require(pair.all_on_target(0), "the channels do not come back");
  }
  return {silent_db, std::max(0.0, told_db - missing_db)};
}

/// A quarter of the band each, on nodes whose channels come by command.
void add_some_channels(plant_pair& pair, unsigned node) {
  pair.plant().fill_band(node);
  for (std::size_t i = 0; i < pair.channels().size(); i += 4) {
    const auto centre = pair.channels()[i];
    require(pair.run_until([&] { return !pair.clock().is_in_call(); }, 60s), "a call without end");
    test::run_at(pair.tree(node), "command/channel/add",
                 fmt::format(R"({{"center":{},"width":10000,"port":2}})", centre));
    for (const char* side : {"rx", "tx"}) {
      pair.write(node, fmt::format("config/client/{}/{}/opticalControlMode", centre, side),
                 "\"power\"");
    }
  }
}

/// A span that was not measured must not be shown as one.
void require_span_losses(plant_pair& pair) {
  for (const char* path : {"data/spanloss/oms/rx", "data/spanloss/ots/rx", "data/spanloss/oms/tx",
                           "data/spanloss/ots/tx"}) {
    const double loss = pair.number(0, path);
    require(std::fabs(loss - pair.plant().span_loss_db(0)) < 1.5, path);
  }
}

figures a_dead_service(const std::string& model, std::uint64_t seed) {
  plant_pair pair(pair_of(model, seed));
  auto& plant = pair.plant();
  pair.start();
  for (unsigned node : {0u, 1u})
    add_some_channels(pair, node);
  pair.run_for(1min);
  const auto gain_now = [&] { return plant.amplifier_gain_db(0, sim::direction::tx); };
  const double gain = gain_now();
  const double voa = plant.voa_attenuation_db(0);
  figures worst{0.0, 0.0};
  for (unsigned node : {0u, 1u}) {
    for (const char* device : {"sfp/0", "preamp", "booster", "osc1", "voa_sfp"}) {
      for (const auto state : {sim::nexel_state::killed, sim::nexel_state::hung}) {
        plant.set_nexel_state(node, device, state);
        for (const auto begun = pair.now(); pair.now() - begun < 30s; pair.run_for(100ms)) {
          worst[0] = std::max(worst[0], std::fabs(gain_now() - gain));
          worst[1] = std::max(worst[1], std::fabs(plant.voa_attenuation_db(0) - voa));
        }
        plant.set_nexel_state(node, device, sim::nexel_state::ok);
        pair.run_for(5s);
        require_span_losses(pair);
      }
    }
  }
  plant.set_span_offset(1, 3.0);
  pair.run_for(10s);
  require(std::fabs(gain_now() - gain - 3.0) < 0.4, "a span that is known is not followed");
  return worst;
}

}  // namespace

std::vector<bar> peer_bars() {
  return {
      // The step that was due at the time of the failure may still come.
      {"saturated-peer",
       "a peer that fails while its preamp reads saturated",
       {{"dB closed in its silence", 1.05}, {"dB closed beyond the need", 0.05}},
       line_models,
       a_saturated_peer},
      // The taps' noise moves a gain that follows the span by a tenth at a time.
      {"dead-service",
       "a dead SFP, amplifier, OSC or VOA service, here or there",
       {{"dB of gain", 0.3}, {"dB of the VOA", 0.05}},
       selka_models,
       a_dead_service},
  };
}

}  // namespace bars
