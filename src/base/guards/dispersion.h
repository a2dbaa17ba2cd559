// Guard on the dispersion compensation: a setting that could not be made when the line opened is
// made as soon as possible. Pure; called on the manager thread.
#pragma once

#include <chrono>

#include "helpers/guard_register.h"

namespace guards {

inline constexpr helpers::guard_kind dispersion_setting{"dispersion-setting"};

/// A device that is away is asked at most once a second.
constexpr bool is_attempt_due(bool setting_due, std::chrono::nanoseconds since_last_attempt) {
  return setting_due && since_last_attempt >= std::chrono::seconds(1);
}

}  // namespace guards
