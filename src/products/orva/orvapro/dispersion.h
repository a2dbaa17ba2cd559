// Arithmetic and texts of the dispersion compensation; uses no device and no tree. Dispersion in
// ps/nm, lengths in km.
#pragma once

#include <string>

#include "platform/wire/json.h"

namespace products::orva::orvapro {

/// Positions of the optical switch.
enum class dcm_path : unsigned { with_fixed_dcm = 1, without_fixed_dcm = 2 };

/// A fibre longer than 40 km goes through the fixed compensation module.
dcm_path path_for(float fiber_length);

/// The tunable compensator's setting at which no dispersion remains.
float automatic_target(dcm_path path, float fixed_dcm_dispersion, float fiber_dispersion);

struct dispersion_settings {
  bool automatic = true;
  std::string mode;
  float dispersion = 0;
};

/// {"mode": text, "dispersion": number}; a mode that begins with "manual" is manual. Throws
/// nx_error -22, saying what is wrong.
dispersion_settings read_dispersion_settings(const nx::json_value& settings);

/// {"mode":"auto G.652","dispersion":x} or {"mode":"manual","dispersion":x}.
nx::json_document dispersion_settings_document(bool automatic, float dispersion);

}  // namespace products::orva::orvapro
