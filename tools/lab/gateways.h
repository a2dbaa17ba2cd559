// The gateways of a lab: each node's page, with the bench of faults, at a free port of the
// loopback. They are started before the lab enters a network namespace of its own, so that the
// user's browser can reach them, and find their daemons later. Used from the main thread.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/lab_folder.h"
#include "tools/lab/supervisor.h"

namespace tools::lab {

class gateways {
 public:
  /// No gateways unless started. Throws lab_failure, `interrupted`.
  gateways() = default;
  gateways(supervisor& programs, const lab_folder& folder, unsigned nodes);

  /// "http://127.0.0.1:40123/" of a node; empty if it has no gateway.
  std::string address(unsigned node) const;

 private:
  std::vector<std::string> addresses_;
};

}  // namespace tools::lab
