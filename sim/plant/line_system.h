// Two nodes face to face on a fibre pair, and the time that moves them. A single node faces a
// second one that is tended: its attenuations are adjusted so that its channels are on target,
// without instruments and their errors.
#pragma once

#include <array>
#include <chrono>
#include <memory>

#include "sim/plant/fibre_span.h"
#include "sim/plant/node.h"

namespace sim {

class line_system {
 public:
  static constexpr std::chrono::nanoseconds longest_step = std::chrono::milliseconds(100);

  explicit line_system(const topology& what);

  /// Split into parts of at most the longest step.
  void step(std::chrono::nanoseconds dt);
  std::chrono::nanoseconds time() const { return time_; }

  const grid slots;
  std::array<std::unique_ptr<node>, 2> nodes;
  std::array<fibre_span, 2> fibres;
  std::array<bool, 2> tended{false, false};

  /// A channel's target at the booster: its share of the band by width, plus the compensation for
  /// the following fibre's tilt.
  double booster_target_dbm(unsigned node_number, std::size_t slot_index) const;

  /// Throws std::out_of_range for a channel that is not on the grid.
  std::size_t slot_of(unsigned key) const;

 private:
  void step_once(double dt_s);
  void tend(unsigned node_number);
  void set_far_attenuator();

  std::chrono::nanoseconds time_{0};
  std::array<light, 2> lines_;
  double since_tending_s_ = 0.0;
};

/// Correction for the tilt of a fibre at a wavelength, dB: short wavelengths start higher. A
/// straight line through the C band, as used by the node's channels, for each 100 km.
double tilt_correction_db(double centre_thz, double length_km);

/// Power of a channel when the whole band of 768 slices of 6.25 GHz carries `total_dbm`.
double band_share_dbm(double total_dbm, double width_ghz);

}  // namespace sim
