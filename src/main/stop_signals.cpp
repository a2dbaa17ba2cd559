#include "main/stop_signals.h"

#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace {

std::atomic<bool> asked_for{false};
sem_t something_to_do;

static_assert(std::atomic<bool>::is_always_lock_free, "used in a signal handler");

extern "C" void remember_stop(int) {
  const int interrupted_errno = errno;
  asked_for = true;
  ::sem_post(&something_to_do);
  errno = interrupted_errno;
}

}  // namespace

void catch_stop_signals() {
  ::sem_init(&something_to_do, 0, 0);
  struct sigaction action {};
  action.sa_handler = remember_stop;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  // A node outlives the terminal that started it, and senders who take it for another service: one
  // that reopens its log or prints its state on such a signal.
  for (const int stray : {SIGHUP, SIGUSR1, SIGUSR2})
    std::signal(stray, SIG_IGN);
}

stop_relay::stop_relay(std::function<void()> stop)
    : thread([stop = std::move(stop)] {
        while (::sem_wait(&something_to_do) != 0 && errno == EINTR) {
        }
        if (asked_for) stop();
      }) {}

stop_relay::~stop_relay() {
  ::sem_post(&something_to_do);
  thread.join();
}
