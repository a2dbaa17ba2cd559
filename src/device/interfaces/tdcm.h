// A tunable dispersion compensator. All values ps/nm.
#pragma once

#include <string>

namespace device::interfaces {

class tdcm {
 public:
  tdcm() = default;
  virtual ~tdcm() = default;
  tdcm(const tdcm&) = delete;
  tdcm& operator=(const tdcm&) = delete;

  /// Throws nx_error -22 on a value outside the device's range; the limits belong to it.
  virtual void check_dispersion(float value) = 0;
  virtual void set_dispersion(float value) = 0;
  /// 0.0 when the device does not answer.
  virtual float get_dispersion() = 0;
  virtual float get_max_dispersion() = 0;
  virtual float get_min_dispersion() = 0;
  virtual std::string get_partNumber() = 0;
  virtual float clamp_dispersion(float value) = 0;
  /// While `enabled`, one compensator model is kept within 180 ps/nm either way.
  virtual float limit_dispersion(float value, bool enabled) = 0;
};

}  // namespace device::interfaces
