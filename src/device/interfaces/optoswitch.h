// The optical switch that routes the light past or through the dispersion compensator.
#pragma once

namespace device::interfaces {

class optoswitch {
 public:
  optoswitch() = default;
  virtual ~optoswitch() = default;
  optoswitch(const optoswitch&) = delete;
  optoswitch& operator=(const optoswitch&) = delete;

  /// Returns the device's answer.
  virtual int select_path(int path) = 0;
};

}  // namespace device::interfaces
