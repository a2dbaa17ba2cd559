// One fibre of the pair, with its connectors: loss, Raman tilt, dispersion, and whether it is
// whole.
#pragma once

#include "sim/optics/light.h"
#include "sim/plant/topology.h"

namespace sim {

class fibre_span {
 public:
  explicit fibre_span(const fibre_settings& settings) : settings_(settings) {}

  /// Carries the channels and, outside their band, the supervisory light; both are changed in
  /// place.
  void carry(light& beam, double& osc_mw, const grid& slots, double osc_extra_db_per_km,
             double dt_s);

  /// Connector to connector at the channels' wavelengths; infinite when cut.
  double span_loss_db() const;
  double osc_loss_db(double extra_db_per_km) const;
  double raman_tilt_db() const { return raman_tilt_db_; }
  const fibre_settings& settings() const { return settings_; }
  double dispersion_ps_per_nm() const {
    return settings_.length_km * settings_.dispersion_ps_per_nm_km;
  }

  void set_cut(bool cut) { cut_ = cut; }
  bool cut() const { return cut_; }
  void set_offset(double loss_db) { settings_.loss_offset_db = loss_db; }
  void set_drift(double db_per_day);
  /// Loss of a dirty connector where the light enters, and where it leaves; both are part of the
  /// span.
  void set_start_loss(double loss_db) { start_loss_db_ = loss_db; }
  void set_end_loss(double loss_db) { end_loss_db_ = loss_db; }
  void set_raman(bool on) { settings_.raman = on; }

 private:
  double whole_loss_db() const {
    return settings_.span_loss_db() + drifted_db_ + start_loss_db_ + end_loss_db_;
  }

  fibre_settings settings_;
  bool cut_ = false;
  double drifted_db_ = 0.0;
  double start_loss_db_ = 0.0;
  double end_loss_db_ = 0.0;
  double raman_tilt_db_ = 0.0;
};

}  // namespace sim
