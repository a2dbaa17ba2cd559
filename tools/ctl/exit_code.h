// lumoractl's exit codes. A script can tell "the tree refused" from "nobody was there".
#pragma once

#include <stdexcept>
#include <string>

namespace tools::ctl {

enum exit_code : int {
  exit_ok = 0,
  exit_refused = 1,        ///< the tree answered with an error, or a command with false
  exit_usage = 2,          ///< wrong options or arguments
  exit_not_connected = 3,  ///< nothing listens there, or the connection ended
  exit_no_answer = 4,      ///< connected, but no answer in time
  exit_no_match = 5,       ///< no path matches the pattern
  exit_needs_person = 6    ///< explain: something is wrong until somebody does something
};

/// Wrong arguments that are only detected after asking the tree.
class usage_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tools::ctl
