// The set-up of one connection to the peer: who it is, and the first values of what it offers.
// Requests are sent at once; each cycle checks for answers, and nobody waits for them.
//
// On the manager thread only. `read_identity` throws nx_client_exception.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "base/manager/remote/api.h"

namespace manager::remote {

struct api::session {
  session(std::uint64_t connection, std::shared_ptr<nexel_client_api> peer);

  bool is_identifying() const { return !adapter; }
  /// The peer has answered everything it was asked, or has failed to.
  bool has_identity() const;
  /// Throws at the first part that the peer did not report; the others stay "n/a".
  void read_identity();

  void subscribe(device::path_group group);
  /// Every path has a first value or a failure, or some have taken too long.
  bool is_answered() const;
  void log_outcome() const;

  const std::uint64_t connection;
  std::string product = "n/a";
  std::string sw_version = "n/a";
  std::string hw_revision = "n/a";
  bool is_lost = false;  ///< the connection ended before the peer was identified
  std::shared_ptr<device::interface> adapter;  ///< once the peer is identified
  const device::subscriber_ptr values;
  std::vector<::device::wanted_path> paths;

 private:
  void log_missing() const;

  const std::shared_ptr<nexel_client_api> peer_;
  std::array<std::future<std::string>, 3> identity_;
  std::vector<const char*> complete_;
  std::chrono::steady_clock::time_point limit_;
  mutable std::size_t answered_ = 0;  // number of paths, from the first one on
};

}  // namespace manager::remote
