#include "base/guards/line_opening.h"

namespace guards {

bool is_opening_loss(float osc_tx_power, float loss) {
  // Optics that are out of service report -40 dBm or less; no supervisory channel bridges 50 dB.
  constexpr float least_tx_power = -30.0f;
  constexpr float least_loss = -1.0f;
  constexpr float largest_loss = 50.0f;
  return osc_tx_power >= least_tx_power && loss >= least_loss && loss <= largest_loss;
}

bool is_within(float attenuation, float minimum, float maximum) {
  return attenuation >= minimum && attenuation <= maximum;  // false for NaN
}

}  // namespace guards
