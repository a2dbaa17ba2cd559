// The key store of a lab: a separate redis-server on a unix socket, nothing on disk, with the keys
// that a node's other services write.
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

  /// The environment with which a node's daemon finds it: KVS_URL and the node's two hash tags.
  std::vector<std::string> environment(unsigned node) const;
  static std::string configuration_tag(unsigned node);

 private:
  std::string url_;
};

}  // namespace tools::lab
