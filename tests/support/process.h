// A child process of a test: its output is collected, and the test waits for a text or for its end,
// never for a time. It ends with the object, and with the test program if that dies.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace test {

/// How long a test waits before it fails: far more than a loaded machine needs.
constexpr std::chrono::seconds patience{30};

class process {
 public:
  struct settings {
    std::vector<std::string> command;
    std::map<std::string, std::string> environment;  ///< on top of the test's own
    std::vector<std::string> unset;                  ///< variables that the child does not get
  };

  explicit process(const settings& what);
  ~process();  ///< SIGTERM, and SIGKILL when it does not end
  process(const process&) = delete;
  process& operator=(const process&) = delete;

  pid_t pid() const { return pid_; }
  void signal(int number);

  /// True once `text` stands in the output, from the n-th occurrence on; false at the end of the
  /// process or of patience.
  bool wait_for(const std::string& text, unsigned occurrences = 1);
  /// As the shell tells it: the exit status, or 128 and the signal. Empty if it still runs.
  std::optional<int> wait_for_exit(std::chrono::milliseconds limit = patience);

  /// Standard output and standard error so far, as they came.
  std::string output();
  unsigned count(const std::string& text);
  /// The last lines, for the message of a failing test.
  std::string last_lines();

 private:
  void collect(int output_end, int exit_end);
  void append_output(int output_end, bool& open);

  pid_t pid_ = -1;
  int stop_event = -1;
  std::mutex mutex;
  std::condition_variable changed;
  std::string text_so_far;
  std::optional<int> exit_status;
  std::thread collector;
};

/// Runs a program to its end; the test fails when it does not end.
struct finished {
  int status;
  std::string output;
};
finished run(const process::settings& what);

}  // namespace test
