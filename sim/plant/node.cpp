#include "sim/plant/node.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "sim/optics/decibel.h"

namespace sim {

namespace {

noise_source stream(std::uint64_t seed, unsigned number, const char* name) {
  return noise_source(seed, fmt::format("node {} {}", number, name));
}

power_tap make_tap(const node_settings& settings, tap which, double settling_s, std::uint64_t seed,
                   unsigned number) {
  const auto index = static_cast<std::size_t>(which);
  return power_tap(settings.taps[index], settling_s, settings.tap_noise_db,
                   settings.tap_resolution_db,
                   stream(seed, number, fmt::format("tap {}", index).c_str()));
}

amplifier make_booster(const node_settings& s, const grid& slots, std::uint64_t seed, unsigned n) {
  return amplifier(
      s.booster, slots, 0.0, make_tap(s, tap::booster_input, s.booster.settling_s, seed, n),
      make_tap(s, tap::booster_output, s.booster.settling_s, seed, n), stream(seed, n, "booster"));
}

amplifier make_preamp(const node_settings& s, const grid& slots, std::uint64_t seed, unsigned n) {
  return amplifier(
      s.preamp, slots, 0.3, make_tap(s, tap::preamp_input, s.preamp.settling_s, seed, n),
      make_tap(s, tap::preamp_output, s.preamp.settling_s, seed, n), stream(seed, n, "preamp"));
}

std::vector<laser> make_lasers(const node_settings& settings, const grid& slots) {
  std::vector<laser> lasers;
  for (const slot& at : slots) {
    laser_settings each;
    each.power_dbm = settings.laser_power_dbm;
    each.ramp_s = settings.laser_ramp_s;
    if (settings.lit) {
      each.on =
          std::find(settings.lit->begin(), settings.lit->end(), at.key) != settings.lit->end();
    }
    lasers.emplace_back(each);
  }
  return lasers;
}

/// The slot whose band holds the frequency; the grid's size when none does.
std::size_t slot_at(const grid& slots, double frequency_thz) {
  for (std::size_t i = 0; i < slots.size(); ++i) {
    const double half_width_thz = slots[i].width_ghz / 2000.0;
    if (std::abs(slots[i].centre_thz - frequency_thz) <= half_width_thz) return i;
  }
  return slots.size();
}

}  // namespace

node::node(const node_settings& what, const grid& of, std::uint64_t seed, unsigned number)
    : settings(what),
      slots(of),
      lasers(make_lasers(what, of)),
      add_switch(what.add_switch, of.size(), stream(seed, number, "add switch")),
      drop_switch(what.drop_switch, of.size(), stream(seed, number, "drop switch")),
      booster(make_booster(what, of, seed, number)),
      preamp(make_preamp(what, of, seed, number)),
      booster_monitor(what.booster_monitor, of.size(), stream(seed, number, "booster monitor")),
      preamp_monitor(what.preamp_monitor, of.size(), stream(seed, number, "preamp monitor")),
      voa(what.voa),
      osc(what.osc, make_tap(what, tap::osc_input, 0.1, seed, number),
          make_tap(what, tap::osc_output, 0.1, seed, number)),
      dirt(of.size()),
      laser_(of.size()),
      booster_output_(of.size()),
      line_output_(of.size()),
      line_input_(of.size()),
      preamp_output_(of.size()),
      client_output_(of.size()) {}

void node::combine_lasers(double dt_s) {
  laser_.clear();
  booster_output_.clear();
  for (std::size_t i = 0; i < lasers.size(); ++i) {
    lasers[i].step(dt_s);
    const double power_mw = lasers[i].power_mw();
    laser_.signal_mw[i] = power_mw;
    if (power_mw <= 0.0) continue;
    const double loss_db = add_switch.loss_db()[i] + dirt.client_rx[i];
    const double through_mw = power_mw * ratio_of_db(-loss_db);
    const double offset_ghz = lasers[i].settings().frequency_offset_ghz;
    if (std::abs(offset_ghz) <= slots[i].width_ghz / 2.0) {
      booster_output_.signal_mw[i] += through_mw;
      continue;
    }
    // Outside its own passband: the light that leaks through disturbs whatever channel is at that
    // place in the spectrum.
    const std::size_t lands = slot_at(slots, slots[i].centre_thz + offset_ghz / 1000.0);
    if (lands == slots.size()) continue;
    booster_output_.noise_mw[lands] +=
        through_mw * ratio_of_db(-add_switch.settings().crosstalk_db);
  }
}

void node::send(light& line, double& osc_mw, double dt_s) {
  add_switch.step(dt_s);
  voa.step(dt_s);
  combine_lasers(dt_s);
  attenuate(booster_output_, dirt.at(connector::switch_to_booster));
  booster.step(booster_output_, booster_output_.total_mw(), dt_s);
  booster_monitor.step(booster_output_, dt_s);
  line_output_ = booster_output_;
  attenuate(line_output_, (settings.has_voa ? voa.loss_db() : 0.0) +
                              settings.line_output_filter_db + dirt.at(connector::booster_to_line));
  line = line_output_;
  osc_mw = osc.sent_mw() * ratio_of_db(-settings.line_output_filter_db);
}

void node::drop_to_clients() {
  client_output_ = preamp_output_;
  if (settings.drop_switch_mid_stage) {
    attenuate(client_output_, drop_switch.settings().insertion_loss_db);
    return attenuate_each(client_output_, dirt.client_tx);
  }
  const double before_switch_db = dirt.at(connector::preamp_to_switch);
  attenuate(client_output_, before_switch_db);
  attenuate_each(client_output_, drop_switch.loss_db());
  const double leak = ratio_of_db(-drop_switch.settings().insertion_loss_db -
                                  drop_switch.settings().crosstalk_db - before_switch_db);
  for (std::size_t i = 0; i < client_output_.size(); ++i) {
    if (i > 0) client_output_.noise_mw[i] += preamp_output_.signal_mw[i - 1] * leak;
    if (i + 1 < client_output_.size()) {
      client_output_.noise_mw[i] += preamp_output_.signal_mw[i + 1] * leak;
    }
  }
  attenuate_each(client_output_, dirt.client_tx);
}

void node::tune_dispersion(double dt_s) {
  constexpr double ps_per_nm_per_s = 50.0;
  const double move = dispersion.wanted_ps_per_nm - dispersion.tunable_ps_per_nm;
  const double reach = ps_per_nm_per_s * dt_s;
  dispersion.tunable_ps_per_nm += std::clamp(move, -reach, reach);
}

void node::receive(const light& line, double osc_mw, double dt_s) {
  drop_switch.step(dt_s);
  tune_dispersion(dt_s);
  line_input_ = line;
  preamp_output_ = line;
  attenuate(preamp_output_, settings.line_input_filter_db + dirt.at(connector::line_to_preamp));
  const double input_mw = preamp_output_.total_mw();
  if (settings.drop_switch_mid_stage) {
    // The insertion loss is included in the amplifier's gain.
    attenuate_each(preamp_output_, drop_switch.loss_db());
    attenuate(preamp_output_,
              dirt.at(connector::preamp_to_switch) - drop_switch.settings().insertion_loss_db);
  }
  preamp.step(preamp_output_, input_mw, dt_s);
  preamp_monitor.step(preamp_output_, dt_s);
  drop_to_clients();
  osc.receive(osc_mw * ratio_of_db(-settings.line_input_filter_db), dt_s);
}

const light& node::at(measuring_point where) const {
  switch (where) {
    case measuring_point::laser:
      return laser_;
    case measuring_point::booster_output:
      return booster_output_;
    case measuring_point::line_output:
      return line_output_;
    case measuring_point::line_input:
      return line_input_;
    case measuring_point::preamp_output:
      return preamp_output_;
    case measuring_point::client_output:
      break;
  }
  return client_output_;
}

}  // namespace sim
