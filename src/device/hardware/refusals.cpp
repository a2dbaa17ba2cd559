#include "device/hardware/refusals.h"

#include <fmt/format.h>

#include "platform/wire/nx_error.h"

namespace device::hardware {

void throw_not_implemented() {
  throw nx_error(nx_error::invalid, "Not implemented");
}

void throw_no_subscription(const char* result, const char* class_name, const char* operation) {
  const auto signature =
      fmt::format("virtual {} device::hardware::{}::{}", result, class_name, operation);
  throw nx_error(nx_error::invalid, fmt::format("Subscription not implemented for {}", signature));
}

}  // namespace device::hardware
