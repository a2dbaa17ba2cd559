// What lumoractl tells its caller. A script tells "the tree said no" from "nobody was there".
#pragma once

#include <stdexcept>
#include <string>

namespace tools::ctl {

enum exit_code : int {
  exit_ok = 0,
  exit_refused = 1,        ///< the tree answered with an error, or a command with false
  exit_usage = 2,          ///< wrong options or words
  exit_not_connected = 3,  ///< nothing listens there, or the connection ended
  exit_no_answer = 4,      ///< connected, and no answer in time
  exit_no_match = 5,       ///< a pattern that fits no path
  exit_needs_person = 6    ///< explain: something stays wrong until somebody does something
};

/// Wrong words on the command line that only show once the tree has been asked.
class usage_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tools::ctl
