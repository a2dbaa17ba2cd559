// A server process of a measurement: a fork that runs one function, on the same core as its client.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>

namespace bench {

/// Confines this process, and everything that it starts from now on, to one core.
void pin_to_one_core();

class child {
 public:
  /// Forks; the child ends with `body`, or with its parent. Only while this process has one thread.
  explicit child(const std::function<void()>& body);
  ~child();
  child(const child&) = delete;
  child& operator=(const child&) = delete;

  pid_t pid() const { return pid_; }

 private:
  pid_t pid_;
};

/// Processor time of all threads of a process since its start.
std::chrono::nanoseconds cpu_time(pid_t pid);

}  // namespace bench
