// Commands that add and remove channels on the selka devices.
#pragma once

#include <string>

class nexel_client_api;

namespace device::hardware {

/// Runs the command with the request, and throws nx_error -5 with `failure` if the answer is false.
/// Value: std::string, bool.
template <class Value>
void run_channel_command(nexel_client_api& client, const std::string& path, const Value& request,
                         const char* failure);

std::string channel_request(unsigned center);
std::string channel_request(unsigned center, unsigned width);
std::string channel_request(unsigned center, unsigned width, unsigned port,
                            const std::string& version);

}  // namespace device::hardware
