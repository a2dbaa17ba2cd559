// The key store of a lab: a redis-server of its own on a unix socket, nothing on disk, with the
// keys that other services of a node write.
#pragma once

#include <string>

#include "tools/lab/lab_folder.h"
#include "tools/lab/supervisor.h"

namespace tools::lab {

class store {
 public:
  /// Starts it, waits until it answers, and writes the keys. Throws lab_failure, `interrupted`.
  store(supervisor& programs, const lab_folder& folder);

  /// What a daemon needs to find it: KVS_URL and the two hash tags.
  std::vector<std::string> environment() const;

 private:
  std::string url_;
};

}  // namespace tools::lab
