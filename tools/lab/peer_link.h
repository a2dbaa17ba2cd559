// The supervisory link between the two nodes of a lab: two network namespaces, the near node's
// being the lab's own, joined by a pair of virtual interfaces. It is invisible from outside, and
// disappears with the lab's processes.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/lab_folder.h"
#include "tools/lab/supervisor.h"

namespace tools::lab {

class peer_link {
 public:
  /// Moves the lab into a new namespace, and therefore must come before any thread and any other
  /// program is started. Throws link_refused if the system does not allow it.
  peer_link(supervisor& programs, const lab_folder& folder);

  /// The command prefix that runs a command on the far node.
  std::vector<std::string> enter_far() const;

  /// Name of the interface on either side; there the near node is fe80::1, the far one fe80::2.
  static constexpr const char* interface = "osc0";

 private:
  void wait_for_far_namespace(supervisor& programs) const;
  void run(supervisor& programs, std::vector<std::string> command) const;
  void bring_up(supervisor& programs, const std::vector<std::string>& where,
                const std::string& address) const;

  std::string log_;
  pid_t holder_ = -1;
};

}  // namespace tools::lab
