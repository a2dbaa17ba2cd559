// Orva peers.
#pragma once

#include "base/manager/remote/device/interface.h"

namespace manager::remote::device::orva {

class orva_common : public interface {
 protected:
  explicit orva_common(bool compensates)
      : interface({.column = family::orva,
                   .starting = "Starting remote subscription against ORVA products.",
                   .starting_channels = "Starting remote channel subscription against ORVA-BASE.",
                   .has_osnr = true,
                   .compensates = compensates}) {}
};

class orvabase : public orva_common {
 public:
  orvabase() : orva_common(false) {}
};

/// Adds the values of the peer's dispersion compensation.
class orvapro : public orva_common {
 public:
  orvapro() : orva_common(true) {}
};

}  // namespace manager::remote::device::orva
