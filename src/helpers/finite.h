// Checks whether a value may be published: floats on the tree are finite. One place for the check
// and its two texts.
#pragma once

#include <cmath>
#include <string>
#include <type_traits>

#include "platform/wire/nx_error.h"

namespace helpers {

template <class T>
bool is_finite(const T& value) {
  if constexpr (std::is_floating_point_v<T>) {
    return std::isfinite(value);
  } else {
    return true;
  }
}

/// Throws nx_error -61 "SUBJECT is NaN." or "SUBJECT is infinite."; types other than floating point
/// always pass.
template <class T>
void require_finite(const T& value, const std::string& subject) {
  if (is_finite(value)) return;
  if constexpr (std::is_floating_point_v<T>) {
    throw nx_error(nx_error::no_value,
                   subject + (std::isnan(value) ? " is NaN." : " is infinite."));
  }
}

template <class T>
void require_finite(const T& value) {
  if (!is_finite(value)) require_finite(value, "Argument value");
}

}  // namespace helpers
