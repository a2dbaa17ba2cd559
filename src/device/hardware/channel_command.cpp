#include "device/hardware/channel_command.h"

#include <fmt/format.h>

#include <utility>

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

void run_channel_command_in_turn(nexel_client_api& client, const std::string& path,
                                 const std::string& request, const char* failure) {
  auto* writes = cycle_writes::current();
  if (!writes) return run_channel_command(client, path, request, failure);
  if (auto* reads = cycle_reads::current()) reads->forget(client);
  writes->send_command(client, path, request, failure);
}

sent_channel_command::sent_channel_command(nexel_client_api& client, std::string path,
                                           const std::string& request, const char* failure)
    : client_(client), path_(std::move(path)), failure_(failure) {
  if (auto* reads = cycle_reads::current()) reads->forget(client_);
  answer_ = client_.send_set<bool>(path_, request);
}

void sent_channel_command::wait() {
  const cycle_reads::waiting_time counted(1);
  if (!client_.wait_for(answer_, path_)) throw nx_error(nx_error::io_failed, failure_);
}

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
