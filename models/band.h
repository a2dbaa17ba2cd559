// The optical band as used by daemon and plant: slices, over which power is divided, and the tilt
// that stimulated Raman scattering causes along the fibre. Any thread.
#pragma once

namespace models {

inline constexpr float slice_ghz = 6.25F;

/// The slices of the orva family's band. The targets of every model are shares of it, including the
/// selka family's, whose band is a little wider.
inline constexpr unsigned shared_slices = 768;
inline constexpr unsigned selka_slices = 772;

/// Linear fit of the band's tilt at 100 km: dB against nm.
inline constexpr double tilt_offset_db = 39.7960090637207;
inline constexpr double tilt_slope_db_per_nm = -0.025756599381566;

}  // namespace models
