// Resource use of a process and its threads, from /proc, and the line of the table that judges a
// figure.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace bench {

using seconds = std::chrono::duration<double>;

struct thread_use {
  seconds cpu;
  double waits;
};

// These throw std::runtime_error if there is no such thread or process.
thread_use use_of_thread(pid_t pid, const std::string& name);
/// Of all threads of that name together; zero if there is none.
seconds cpu_of_threads(pid_t pid, const std::string& name);
double resident_mib(pid_t pid);
/// This thread's name, truncated as by the kernel.
std::string own_name();

/// Throws std::runtime_error with `what` unless it is so.
void require(bool reached, const char* what);
/// Prints a figure with its goal, an upper limit; true if it is reached.
bool report(const std::string& figure, double found, double goal, const char* unit);

}  // namespace bench
