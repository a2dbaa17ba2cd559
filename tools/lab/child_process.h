// One program started by the lab: it writes its output to a file, is ended by its id, and dies with
// the lab however the lab ends. Used from the main thread.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tools::lab {

struct program {
  std::string name;  ///< its name in messages
  std::vector<std::string> command;
  std::vector<std::string> environment;  ///< "NAME=value", in addition to the lab's own
  std::string log_file;                  ///< standard output and error
};

class child_process {
 public:
  /// Starts it. Throws lab_failure if the program cannot be run at all.
  explicit child_process(program what);
  /// SIGTERM, then SIGKILL if it is still there after `grace`.
  ~child_process();
  child_process(const child_process&) = delete;
  child_process& operator=(const child_process&) = delete;

  const std::string& name() const { return what_.name; }
  const std::string& log_file() const { return what_.log_file; }
  pid_t pid() const { return pid_; }

  /// How it ended ("exit status 1", "signal 11 (Segmentation fault)"); empty while it is running.
  std::optional<std::string> ended();
  /// True if it has ended with exit status 0.
  bool succeeded() const;
  std::vector<std::string> last_lines(std::size_t count) const;
  /// Everything from its last line of severity error, or its last line that is not a log line
  /// ("terminate called ..."); empty if there is neither.
  std::vector<std::string> last_complaint(std::size_t most_lines) const;

  /// Asks it to end; the destructor waits for it.
  void terminate();

  static constexpr std::chrono::seconds grace{5};

 private:
  bool reap(bool wait);
  bool reap_within(std::chrono::milliseconds time);

  program what_;
  pid_t pid_ = -1;
  std::optional<int> status_;
};

}  // namespace tools::lab
