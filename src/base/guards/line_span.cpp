#include "base/guards/line_span.h"

#include <algorithm>

namespace guards {

std::optional<float> lit_power(float reading) {
  constexpr float darkest = -70.0f;
  constexpr float brightest = 30.0f;
  if (reading > darkest && reading <= brightest) return reading;
  return std::nullopt;
}

std::optional<float> span_between(std::optional<float> sent, std::optional<float> received) {
  // What the taps of two nodes may be off against each other.
  constexpr float least_loss = -1.0f;
  if (!sent || !received || *sent - *received < least_loss) return std::nullopt;
  return std::max(*sent - *received, 0.0f);
}

}  // namespace guards
