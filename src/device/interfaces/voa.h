// The line's variable optical attenuator. All values in dB.
#pragma once

#include "device/interface.h"

namespace device::interfaces {

class voa : public device::interface {
 public:
  /// Tries twice; a failure is logged but not thrown.
  virtual void set_attenuation(float attenuation) = 0;
  virtual float get_attenuation() = 0;
  virtual float get_min_attenuation() = 0;
  virtual float get_max_attenuation() = 0;
  virtual float get_insertion_loss() = 0;
};

}  // namespace device::interfaces
