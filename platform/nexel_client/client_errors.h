// The failures that a client itself raises, over either transport.
#pragma once

#include <chrono>
#include <string>

#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace nx {

/// A call not answered within this time fails, and each later one of its client fails at once until
/// the nexel answers something: a caller with many values to read waits for one of them only.
inline constexpr std::chrono::seconds call_time_out{2};

/// `address` is the socket's path, or "[host%interface]:port".
inline nx_client_exception not_connected_to(const std::string& address, const std::string& path) {
  return {nx_error::not_connected, "Not connected: " + address, path};
}

inline nx_client_exception no_answer_from(const std::string& address, const std::string& path) {
  return {nx_error::no_answer, "No answer within 2 s: " + address, path};
}

}  // namespace nx
