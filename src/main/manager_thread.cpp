#include "main/manager_thread.h"

#include <atomic>

#include "helpers/waiting.h"
#include "platform/value_tree/thread_rank.h"

manager_thread::manager_thread(lumora_manager& daemon, std::shared_ptr<manager::interface>& manager,
                               bool& running_flag)
    : running(running_flag), thread([&daemon, &manager, &running_flag] {
        nx::take_rank("manager", nx::thread_rank::loops);
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
