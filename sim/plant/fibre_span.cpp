#include "sim/plant/fibre_span.h"

#include <algorithm>
#include <limits>

#include "sim/optics/decibel.h"
#include "sim/optics/fibre.h"

namespace sim {

double fibre_span::span_loss_db() const {
  return cut_ ? std::numeric_limits<double>::infinity() : whole_loss_db();
}

double fibre_span::osc_loss_db(double extra_db_per_km) const {
  return span_loss_db() + extra_db_per_km * settings_.length_km;
}

void fibre_span::set_drift(double db_per_day) {
  settings_.loss_drift_db_per_day = db_per_day;
}

void fibre_span::carry(light& beam, double& osc_mw, const grid& slots, double osc_extra_db_per_km,
                       double dt_s) {
  constexpr double day_s = 86400.0;
  drifted_db_ += settings_.loss_drift_db_per_day * dt_s / day_s;
  raman_tilt_db_ = 0.0;
  if (cut_) {
    beam.clear();
    osc_mw = 0.0;
    return;
  }
  if (settings_.raman) {
    const double launched_mw = (beam.total_mw() + osc_mw) * ratio_of_db(-start_loss_db_);
    const double slope = raman_slope_db_per_thz(
        launched_mw, effective_length_km(settings_.length_km, settings_.loss_db_per_km));
    raman_tilt_db_ = slope * lit_bandwidth_thz(beam, slots);
    apply_slope(beam, slots, slope);
  }
  attenuate(beam, std::max(0.0, whole_loss_db()));
  osc_mw *= ratio_of_db(-std::max(0.0, osc_loss_db(osc_extra_db_per_km)));
}

}  // namespace sim
