// A tunable dispersion compensator. All values in ps/nm.
#pragma once

#include <string>

namespace device::interfaces {

class tdcm {
 public:
  tdcm() = default;
  virtual ~tdcm() = default;
  tdcm(const tdcm&) = delete;
  tdcm& operator=(const tdcm&) = delete;

  /// Throws nx_error -22 for a value outside the device's range, inclusive.
  virtual void check_dispersion(float value) = 0;
  virtual void set_dispersion(float value) = 0;
  /// 0.0 if the device does not answer.
  virtual float get_dispersion() = 0;
  virtual float get_max_dispersion() = 0;
  virtual float get_min_dispersion() = 0;
  virtual std::string get_partNumber() = 0;
  virtual float clamp_dispersion(float value) = 0;
  /// If `enabled`, one compensator model is limited to ±180 ps/nm.
  virtual float limit_dispersion(float value, bool enabled) = 0;
};

}  // namespace device::interfaces
