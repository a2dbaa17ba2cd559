// What a getter returns whose value is often not there: to throw costs as much as ten values.
#pragma once

#include <variant>

#include "platform/wire/nx_error.h"

namespace nx::api {

template <class T>
using reading = std::variant<T, nx_error>;

}  // namespace nx::api
