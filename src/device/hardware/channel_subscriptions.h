// Subscribes to many channels of one nexel in one go.
#pragma once

#include <fmt/format.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "device/subscriber.h"
#include "platform/wire/nx_error.h"

class nexel_client_api;

namespace device::hardware {

/// Subscribes to what `paths_of` returns for each channel, all at once, and waits once. Returns the
/// channels with a path that delivered no value; throws nx_error -22 if that is all of them.
template <class PathsOf>
std::set<unsigned> subscribe_together(subscriber& values,
                                      const std::shared_ptr<nexel_client_api>& client,
                                      const std::vector<unsigned>& channels, PathsOf&& paths_of) {
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
