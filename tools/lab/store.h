// The key store of a lab: a redis-server of its own on a unix socket, nothing on disk, with the
// keys that other services of a node write.
#pragma once

#include <string>
#include <vector>

#include "tools/lab/lab_folder.h"
#include "tools/lab/supervisor.h"

namespace tools::lab {

class store {
 public:
  /// Starts it, waits until it answers, and writes the keys. Throws lab_failure, `interrupted`.
  store(supervisor& programs, const lab_folder& folder, unsigned nodes);

  /// What the daemon of a node needs to find it: KVS_URL and two hash tags of the node's own.
  std::vector<std::string> environment(unsigned node) const;
  static std::string configuration_tag(unsigned node);

 private:
  std::string url_;
};

}  // namespace tools::lab
