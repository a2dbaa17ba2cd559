#include "device/hardware/proxy.h"

#include <fmt/format.h>

#include <map>
#include <utility>

#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"

namespace device::hardware {

std::shared_ptr<nexel_client_api> make_client(std::shared_ptr<boost::asio::io_context> io,
                                              const std::string& socket_path) {
  return nexel_client::create(std::move(io), socket_path, "unnamed", {});
}

void throw_not_implemented() {
  throw nx_error(nx_error::invalid, "Not implemented");
}

void throw_no_subscription(const char* result, const char* class_name, const char* operation) {
  const auto signature =
      fmt::format("virtual {} device::hardware::{}::{}", result, class_name, operation);
  throw nx_error(nx_error::invalid, fmt::format("Subscription not implemented for {}", signature));
}

std::set<unsigned> subscribe_together(
    subscriber& values, const std::shared_ptr<nexel_client_api>& client,
    const std::vector<unsigned>& channels,
    const std::function<std::vector<wanted_path>(unsigned)>& paths_of) {
  std::vector<wanted_path> wanted;
  std::map<std::string, unsigned> channel_of;
  for (const unsigned channel : channels) {
    for (auto& path : paths_of(channel)) {
      channel_of.emplace(path.path, channel);
      wanted.push_back(std::move(path));
    }
  }
  const auto missing = values.subscribe_all(client, wanted);
  std::set<unsigned> failed;
  for (const auto& path : missing)
    failed.insert(channel_of.at(path));
  if (!failed.empty() && failed.size() == channels.size()) {
    throw nx_error(nx_error::invalid,
                   fmt::format("Failed to subscribe to path: {}", missing.front()));
  }
  return failed;
}

}  // namespace device::hardware
