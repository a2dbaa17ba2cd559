#include "device/hardware/channel_command.h"

#include <fmt/format.h>

#include "device/hardware/readings.h"
#include "platform/wire/nx_error.h"

namespace device::hardware {

template <class Value>
void run_channel_command(nexel_client_api& client, const std::string& path, const Value& request,
                         const char* failure) {
  if (!write<bool>(client, path, request)) throw nx_error(nx_error::io_failed, failure);
}

template void run_channel_command(nexel_client_api&, const std::string&, const bool&, const char*);
template void run_channel_command(nexel_client_api&, const std::string&, const std::string&,
                                  const char*);

std::string channel_request(unsigned center) {
  return fmt::format("{{\"center_frequency\":{}}}", center);
}

std::string channel_request(unsigned center, unsigned width) {
  return fmt::format("{{\"center_frequency\":{},\"width\":{}}}", center, width);
}

std::string channel_request(unsigned center, unsigned width, unsigned port,
                            const std::string& version) {
  return fmt::format("{{\"center_frequency\":{},\"width\":{},\"port\":{},\"version\":\"{}\"}}",
                     center, width, port, version);
}

}  // namespace device::hardware
