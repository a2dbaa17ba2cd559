// What a failed call to a nexel raises. No base class, as everywhere in this system a device's
// failure is told apart from one's own by its type.
#pragma once

#include <cstdint>
#include <string>

/// Codes: -107 "Not connected: SOCKET", -110 no answer in time, else the nexel's own nx_error code.
struct nx_client_exception {
  std::int32_t code;
  std::string message;
  std::string path;  ///< the path that was asked for
};
