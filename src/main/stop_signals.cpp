#include "main/stop_signals.h"

#include <atomic>
#include <csignal>

namespace {

std::atomic<bool> asked_for{false};
static_assert(std::atomic<bool>::is_always_lock_free, "used in a signal handler");

extern "C" void remember_stop(int) {
  asked_for = true;
}

}  // namespace

void catch_stop_signals() {
  struct sigaction action {};
  action.sa_handler = remember_stop;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

bool stop_was_asked_for() {
  return asked_for;
}
