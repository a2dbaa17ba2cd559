// Numbers from devices, and those that no device measures: a service that tells one is broken, and
// nothing may be regulated by it.
#pragma once

#include <cmath>
#include <string>

class nexel_client_api;

namespace device::hardware {

/// Powers in dBm, losses and gains in dB, lengths in km, dispersions in ps/nm: all are far smaller.
/// False for what is not finite, too.
inline bool is_plausible(float reading) {
  constexpr float largest = 1e5f;
  return std::fabs(reading) <= largest;
}

/// Reads a path once. Throws what the client throws, and nx_client_exception -22 on a number that
/// is not plausible.
float read_number(nexel_client_api& client, const std::string& path);

}  // namespace device::hardware
