#include "sim/plant/supervisory_channel.h"

#include "sim/optics/decibel.h"

namespace sim {

supervisory_channel::supervisory_channel(const osc_settings& settings, power_tap input,
                                         power_tap output)
    : settings_(settings), input_(input), output_(output) {}

double supervisory_channel::sent_mw() const {
  return mw_of_dbm(settings_.tx_power_dbm);
}

void supervisory_channel::receive(double received_mw, double dt_s) {
  has_light_ = dbm_of_mw(received_mw) >= settings_.sensitivity_dbm;
  input_.step(received_mw, dt_s);
  output_.step(sent_mw(), dt_s);
}

void supervisory_channel::watch_link(bool far_end_has_light, double fibre_km,
                                     double dispersion_ps_per_nm, double dt_s) {
  constexpr double tolerance_s = 1e-9;
  lit_s_ = has_light_ && far_end_has_light ? lit_s_ + dt_s : 0.0;
  ready_ = lit_s_ > 0.0 && lit_s_ >= settings_.neighbour_s - tolerance_s;
  if (!ready_) return;
  fibre_km_ = fibre_km;
  dispersion_ps_per_nm_ = dispersion_ps_per_nm;
}

}  // namespace sim
