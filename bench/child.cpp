#include "bench/child.h"

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <system_error>

namespace bench {

void pin_to_one_core() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  ::sched_getaffinity(0, sizeof(allowed), &allowed);
  int last = CPU_SETSIZE - 1;
  while (last > 0 && !CPU_ISSET(last, &allowed))
    --last;
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(last, &one);
  ::sched_setaffinity(0, sizeof(one), &one);
}

child::child(const std::function<void()>& body) : pid_(::fork()) {
  if (pid_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (pid_ > 0) return;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  body();
  ::_exit(0);
}

child::~child() {
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
}

std::chrono::nanoseconds cpu_time(pid_t pid) {
  clockid_t clock;
  timespec used{};
  if (::clock_getcpuclockid(pid, &clock) != 0 || ::clock_gettime(clock, &used) != 0) {
    throw std::system_error(ESRCH, std::generic_category(), "a server has ended");
  }
  return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

}  // namespace bench
