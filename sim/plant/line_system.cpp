#include "sim/plant/line_system.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "models/band.h"
#include "sim/optics/decibel.h"

namespace sim {

namespace {

grid grid_of_topology(const topology& what) {
  check(what);
  const auto& plan = model_of(what.nodes.front()).grid;
  return make_grid(plan.first_center, plan.spacing, plan.channels, plan.group);
}

node_settings far_end(const topology& what) {
  if (what.nodes.size() > 1) return what.nodes[1];
  auto far = default_node(what.nodes.front().product);
  // Where its monitor sees the light is a matter of what it says it is.
  if (const auto* peer = models::find_simulated(what.peer)) {
    far.drop_switch_mid_stage = peer->plant.drop_switch_mid_stage;
  }
  return far;
}

}  // namespace

double tilt_correction_db(double centre_thz, double length_km) {
  constexpr double light_speed_nm_thz = 299792.448;
  const double wavelength_nm = light_speed_nm_thz / centre_thz;
  return (models::tilt_offset_db + models::tilt_slope_db_per_nm * wavelength_nm) * length_km /
         100.0;
}

double band_share_dbm(double total_dbm, double width_ghz) {
  constexpr double band_ghz = models::shared_slices * double{models::slice_ghz};
  return total_dbm - db_of_ratio(band_ghz / width_ghz);
}

line_system::line_system(const topology& what)
    : slots(grid_of_topology(what)),
      fibres{fibre_span(what.fibres[0]), fibre_span(what.fibres[1])} {
  nodes[0] = std::make_unique<node>(what.nodes.front(), slots, what.seed, 0);
  nodes[1] = std::make_unique<node>(far_end(what), slots, what.seed, 1);
  lines_ = {light(slots.size()), light(slots.size())};
  if (what.nodes.size() == 1) {
    tended[1] = true;
    set_far_attenuator();
  }
}

std::size_t line_system::slot_of(unsigned key) const {
  const auto at = std::lower_bound(slots.begin(), slots.end(), key,
                                   [](const slot& s, unsigned k) { return s.key < k; });
  if (at == slots.end() || at->key != key) {
    throw std::out_of_range("no channel " + std::to_string(key) + " on the grid");
  }
  return static_cast<std::size_t>(at - slots.begin());
}

double line_system::booster_target_dbm(unsigned node_number, std::size_t slot_index) const {
  const slot& at = slots[slot_index];
  return band_share_dbm(nodes[node_number]->booster.settings().power_limit_dbm, at.width_ghz) +
         tilt_correction_db(at.centre_thz, fibres[node_number].settings().length_km);
}

void line_system::set_far_attenuator() {
  // Where the far end's own line loop would have ended: channels at 5 dBm after the near preamp.
  constexpr double wanted_dbm = 5.0;
  node& far = *nodes[1];
  const node& near = *nodes[0];
  const double share_dbm =
      band_share_dbm(far.booster.settings().power_limit_dbm, slots.front().width_ghz);
  const double fixed_loss_db = far.settings.line_output_filter_db +
                               far.settings.voa.insertion_loss_db + fibres[1].span_loss_db() +
                               near.settings.line_input_filter_db;
  const double spare_db = share_dbm - fixed_loss_db + near.preamp.set_gain_db() - wanted_dbm;
  far.voa.set_exactly(std::clamp(spare_db, 0.0, far.settings.voa.max_attenuation_db));
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const double launched_dbm = far.settings.laser_power_dbm -
                                far.settings.add_switch.insertion_loss_db +
                                far.booster.set_gain_db();
    const double attenuation_db = launched_dbm - booster_target_dbm(1, i);
    far.add_switch.set_exactly(
        i, std::clamp(attenuation_db, 0.0, far.settings.add_switch.max_attenuation_db));
  }
}

void line_system::tend(unsigned node_number) {
  constexpr double still_db = 0.02;
  node& of = *nodes[node_number];
  const light& output = of.at(measuring_point::booster_output);
  for (std::size_t i = 0; i < slots.size(); ++i) {
    if (output.signal_mw[i] <= 0.0 || !of.lasers[i].steady()) continue;
    const double error_db = dbm_of_mw(output.signal_mw[i]) - booster_target_dbm(node_number, i);
    if (std::abs(error_db) < still_db) continue;
    const double present_db = of.add_switch.true_attenuation_db(i);
    of.add_switch.set_exactly(
        i, std::clamp(present_db + error_db, 0.0, of.settings.add_switch.max_attenuation_db));
  }
}

void line_system::step(std::chrono::nanoseconds dt) {
  while (dt.count() > 0) {
    const std::chrono::nanoseconds part = std::min(dt, longest_step);
    step_once(std::chrono::duration<double>(part).count());
    time_ += part;
    dt -= part;
  }
}

void line_system::step_once(double dt_s) {
  std::array<double, 2> osc_mw{};
  for (unsigned from = 0; from < 2; ++from) {
    nodes[from]->send(lines_[from], osc_mw[from], dt_s);
    fibres[from].carry(lines_[from], osc_mw[from], slots,
                       nodes[from]->osc.settings().extra_loss_db_per_km, dt_s);
  }
  for (unsigned from = 0; from < 2; ++from) {
    nodes[1 - from]->receive(lines_[from], osc_mw[from], dt_s);
  }
  for (unsigned at = 0; at < 2; ++at) {
    const fibre_span& incoming = fibres[1 - at];
    nodes[at]->osc.watch_link(nodes[1 - at]->osc.has_light(), incoming.settings().length_km,
                              incoming.dispersion_ps_per_nm(), dt_s);
  }
  constexpr double tending_s = 1.0;
  since_tending_s_ += dt_s;
  if (since_tending_s_ < tending_s) return;
  since_tending_s_ = 0.0;
  for (unsigned at = 0; at < 2; ++at) {
    if (tended[at]) tend(at);
  }
}

}  // namespace sim
