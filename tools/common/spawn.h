// Starts a program that dies with the process that started it, however that ends: children of the
// lab and of tests. Any thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace tools {

struct spawn_settings {
  std::vector<std::string> command;      ///< searched in PATH
  std::vector<std::string> environment;  ///< the complete environment, "NAME=value"
  int output = -1;                       ///< for standard output and error
  /// In a separate process group, with no input: Ctrl-C at the terminal is handled by the parent.
  bool away_from_terminal = false;
};

/// Exit status of a child whose program cannot be run.
inline constexpr int cannot_run = 127;

/// Negative, with errno, if the system has no more processes.
pid_t spawn(spawn_settings what);

}  // namespace tools
