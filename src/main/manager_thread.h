// The thread that runs the daemon, and how to stop everything it waits for. Owned by main.
#pragma once

#include <memory>
#include <thread>

#include "main/lumora_manager.h"

class manager_thread {
 public:
  /// Starts the thread; all three must outlive this object.
  manager_thread(lumora_manager& daemon, std::shared_ptr<manager::interface>& manager,
                 bool& running_flag);
  /// Stops and joins, so that a failure in main never leaves a thread behind.
  ~manager_thread();
  manager_thread(const manager_thread&) = delete;
  manager_thread& operator=(const manager_thread&) = delete;

  /// Clears the flag, ends every sleep of the process and waits for the thread to end.
  void stop();

 private:
  bool& running;
  std::thread thread;
};
