#include "base/manager/loops/edfa_calibration.h"

#include <cmath>
#include <numeric>

namespace manager::loops {

bool edfa_calibration::is_finite() const {
  return std::isfinite(value_.load());
}

bool edfa_calibration::accept(float difference) {
  if (!std::isfinite(difference)) return false;
  if (!(std::fabs(value_ - difference) < refusal_limit)) return false;
  history_.push_back(difference);
  while (history_.size() > history_limit)
    history_.pop_front();
  value_ =
      std::accumulate(history_.begin(), history_.end(), 0.0f) / static_cast<float>(history_.size());
  return true;
}

void edfa_calibration::restart(float board_value) {
  history_.clear();
  value_ = board_value;
}

}  // namespace manager::loops
