// Thrown by a failed call to a nexel. No base class: everywhere in this system a device's failure
// is told apart from our own by its type.
#pragma once

#include <cstdint>
#include <string>

#include "platform/wire/nx_error.h"  // whose codes stand here too

/// Codes: nx_error::not_connected "Not connected: SOCKET", nx_error::no_answer, otherwise the
/// nexel's own.
struct nx_client_exception {
  std::int32_t code;
  std::string message;
  std::string path;  ///< the path that was asked for
};
