#include "tests/loops/bars/runner.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <map>
#include <system_error>

namespace bars {

namespace {

using clock = std::chrono::steady_clock;

struct child {
  job* of;
  int pipe;
  clock::time_point begin;
};

[[noreturn]] void measure_and_end(const job& what, int pipe) {
  int result = 1;
  try {
    const auto found = what.of->measure(what.model, what.seed);
    const auto size = found.size() * sizeof(double);
    if (found.size() == what.of->limits.size() &&
        ::write(pipe, found.data(), size) == static_cast<ssize_t>(size)) {
      result = 0;
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s on %s: %s\n", what.of->name, what.model.c_str(), error.what());
  }
  // Loggers and threads of the daemon end with the process.
  std::_Exit(result);
}

child start(job& what, pid_t& pid) {
  int ends[2];
  if (::pipe(ends) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  std::fflush(nullptr);
  pid = ::fork();
  if (pid < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (pid == 0) {
    ::close(ends[0]);
    measure_and_end(what, ends[1]);
  }
  ::close(ends[1]);
  return {&what, ends[0], clock::now()};
}

/// The figures fit into a pipe, so the child never waits for its reader.
void take_result(const child& of, bool well) {
  figures found(of.of->of->limits.size());
  const auto size = found.size() * sizeof(double);
  if (well && ::read(of.pipe, found.data(), size) == static_cast<ssize_t>(size)) {
    of.of->found = found;
  }
  ::close(of.pipe);
  of.of->seconds = std::chrono::duration<double>(clock::now() - of.begin).count();
}

}  // namespace

void run_all(std::vector<job>& jobs, unsigned at_a_time,
             const std::function<void(const job&)>& done) {
  std::map<pid_t, child> running;
  auto next = jobs.begin();
  while (next != jobs.end() || !running.empty()) {
    while (next != jobs.end() && running.size() < at_a_time) {
      pid_t pid = 0;
      const auto started = start(*next++, pid);
      running.emplace(pid, started);
    }
    int status = 0;
    const pid_t pid = ::wait(&status);
    if (pid < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "wait");
    const auto ended = running.find(pid);
    if (ended == running.end()) continue;
    take_result(ended->second, WIFEXITED(status) && WEXITSTATUS(status) == 0);
    done(*ended->second.of);
    running.erase(ended);
  }
}

}  // namespace bars
