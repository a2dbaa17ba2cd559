// Starts a program that ends with the one that started it, whatever becomes of that: children of
// the lab and of tests. From any thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace tools {

struct spawn_settings {
  std::vector<std::string> command;      ///< the program is looked for in PATH
  std::vector<std::string> environment;  ///< all of it, "NAME=value"
  int output = -1;                       ///< where standard output and error go
  /// In a group of its own, with nothing to read: Ctrl-C at the terminal is the starter's affair.
  bool away_from_terminal = false;
};

/// The exit status of a child whose program cannot be run.
inline constexpr int cannot_run = 127;

/// Negative, with errno, when the system gives no process.
pid_t spawn(spawn_settings what);

}  // namespace tools
