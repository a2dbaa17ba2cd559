#include "tools/common/spawn.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>

namespace tools {

namespace {

std::vector<char*> pointers_to(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts)
    pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Between fork and exec only async-signal-safe calls are allowed, and none that allocates.
[[noreturn]] void become(char* const* command, char* const* environment,
                         const spawn_settings& what) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (what.away_from_terminal) {
    ::setpgid(0, 0);
    ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  }
  sigset_t none;
  sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
  ::signal(SIGPIPE, SIG_DFL);
  ::dup2(what.output, STDOUT_FILENO);
  ::dup2(what.output, STDERR_FILENO);
  ::execvpe(command[0], command, environment);
  ::_exit(cannot_run);
}

}  // namespace

pid_t spawn(spawn_settings what) {
  const auto command = pointers_to(what.command);
  const auto environment = pointers_to(what.environment);
  const pid_t child = ::fork();
  if (child == 0) become(command.data(), environment.data(), what);
  return child;
}

}  // namespace tools
