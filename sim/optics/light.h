// Light on a fibre as plain data: for each slot of the grid, in ascending frequency, the signal's
// power and the power of the amplifiers' noise within the slot. Both in milliwatts.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace sim {

/// One slot of the spectrum. Slots do not overlap and are in order of ascending frequency.
struct slot {
  unsigned key = 0;  ///< centre, units of 10 MHz
  double centre_thz = 0.0;
  double width_ghz = 0.0;
};

using grid = std::vector<slot>;

/// `count` adjacent slots with this spacing and width, in units of 10 MHz. With a `group` other
/// than 0, one position is left out after each group of slots.
grid make_grid(unsigned first_key, unsigned spacing, unsigned count, unsigned group);

/// A slot's position between the lowest (-0.5) and the highest (+0.5) centre of the grid.
double band_position(const grid& slots, std::size_t index);

struct light {
  explicit light(std::size_t slots = 0) : signal_mw(slots, 0.0), noise_mw(slots, 0.0) {}

  std::vector<double> signal_mw;
  std::vector<double> noise_mw;

  std::size_t size() const { return signal_mw.size(); }
  double slot_mw(std::size_t i) const { return signal_mw[i] + noise_mw[i]; }
  double total_mw() const;
  bool dark() const { return total_mw() <= 0.0; }
  void clear();
};

void attenuate(light& beam, double loss_db);
void attenuate_each(light& beam, std::span<const double> loss_db);

/// Signal over noise in 12.5 GHz (0.1 nm at 1550 nm), dB; `dark_dbm` without a signal.
double osnr_db(const light& beam, const grid& slots, std::size_t index);

/// Bandwidth to which OSNR figures refer.
inline constexpr double osnr_bandwidth_ghz = 12.5;

}  // namespace sim
