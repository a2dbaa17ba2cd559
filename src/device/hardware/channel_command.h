// Commands by which the selka devices' channels come and go.
#pragma once

#include <string>

class nexel_client_api;

namespace device::hardware {

/// Writes the request to the command and throws nx_error -5 with `failure` when the answer is
/// false. Value: std::string, bool.
template <class Value>
void run_channel_command(nexel_client_api& client, const std::string& path, const Value& request,
                         const char* failure);

std::string channel_request(unsigned center);
std::string channel_request(unsigned center, unsigned width);
std::string channel_request(unsigned center, unsigned width, unsigned port,
                            const std::string& version);

}  // namespace device::hardware
