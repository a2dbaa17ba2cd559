#include "main/manager_thread.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <atomic>

#include "helpers/waiting.h"

namespace {

/// The device retries sleep a microsecond a million times over; with the usual slack of 50 us each
/// such wait would last a minute instead of seconds.
constexpr unsigned long timer_slack_ns = 1;

void prepare_this_thread() {
  ::pthread_setname_np(::pthread_self(), "manager");
  ::prctl(PR_SET_TIMERSLACK, timer_slack_ns, 0UL, 0UL, 0UL);
}

}  // namespace

manager_thread::manager_thread(lumora_manager& daemon, std::shared_ptr<manager::interface>& manager,
                               bool& running_flag)
    : running(running_flag), thread([&daemon, &manager, &running_flag] {
        prepare_this_thread();
        daemon.start(manager, &running_flag);
      }) {}

manager_thread::~manager_thread() {
  stop();
}

void manager_thread::stop() {
  std::atomic_ref<bool>(running).store(false);
  helpers::waiting::instance().stop();
  if (thread.joinable()) thread.join();
}
