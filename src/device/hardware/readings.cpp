#include "device/hardware/readings.h"

#include <fmt/format.h>

#include "platform/nexel_client/nexel_client.h"
#include "platform/nexel_client/nx_client_exception.h"

namespace device::hardware {

float read_number(nexel_client_api& client, const std::string& path) {
  const auto reading = client.get<float>(path);
  if (is_plausible(reading)) return reading;
  throw nx_client_exception{-22, fmt::format("No device measures {}", reading), path};
}

}  // namespace device::hardware
