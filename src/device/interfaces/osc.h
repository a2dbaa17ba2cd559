// The optical supervisory channel: its measurements of the fibre, and who is at the other end.
#pragma once

#include <string>

#include "device/interface.h"

namespace device::interfaces {

class osc : public device::interface {
 public:
  virtual float get_fiber_length() = 0;      ///< km
  virtual float get_fiber_dispersion() = 0;  ///< ps/nm
  /// The peer's address; empty if there is none.
  virtual std::string get_neighbour() = 0;
  virtual bool has_loss_of_link() = 0;
};

}  // namespace device::interfaces
