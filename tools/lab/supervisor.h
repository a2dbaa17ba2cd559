// Watches over the programs of a lab while something is waited for: a program that ends early is
// named with its last words instead of a time-out.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/lab/child_process.h"
#include "tools/lab/user.h"

namespace tools::lab {

class supervisor {
 public:
  explicit supervisor(user& at_terminal) : user_(at_terminal) {}
  /// Ends the programs in the reverse order of their start.
  ~supervisor();
  supervisor(const supervisor&) = delete;
  supervisor& operator=(const supervisor&) = delete;

  child_process& start(program what);
  const std::vector<std::unique_ptr<child_process>>& programs() const { return programs_; }

  /// Runs a program to its end. Throws lab_failure when it does not end well.
  void run(program what);

  /// Throws lab_failure with name, end and last log lines of a program that has ended.
  void check();

  /// Returns when `condition` is true. Throws lab_failure when it is not in `limit`, or a program
  /// ends; throws `interrupted` when the user has enough.
  void wait_until(const std::string& what, std::chrono::seconds limit,
                  const std::function<bool()>& condition);

 private:
  user& user_;
  std::vector<std::unique_ptr<child_process>> programs_;
};

}  // namespace tools::lab
