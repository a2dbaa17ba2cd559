// Watches over the programs of a lab during waits: if one ends early, its name and last words are
// reported instead of a time-out.
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
  /// Ends the programs in reverse order of their start.
  ~supervisor();
  supervisor(const supervisor&) = delete;
  supervisor& operator=(const supervisor&) = delete;

  child_process& start(program what);
  const std::vector<std::unique_ptr<child_process>>& programs() const { return programs_; }

  /// Runs a program to its end. Throws lab_failure if it fails.
  void run(program what);

  /// Throws lab_failure with name, end and last log lines of a program that has ended.
  void check();

  /// Returns when `condition` is true. Throws lab_failure if that takes longer than `limit`, or a
  /// program ends; throws `interrupted` if the user quits.
  void wait_until(const std::string& what, std::chrono::seconds limit,
                  const std::function<bool()>& condition);

 private:
  user& user_;
  std::vector<std::unique_ptr<child_process>> programs_;
};

}  // namespace tools::lab
