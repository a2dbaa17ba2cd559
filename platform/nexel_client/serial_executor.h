// Runs connection events one at a time, for all clients of the process, on a thread that lives
// while there is work: their receivers may block on a lock that is held across a call, which the
// I/O thread must never do.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace nx {

class serial_executor : public std::enable_shared_from_this<serial_executor> {
 public:
  static std::shared_ptr<serial_executor> process_wide();

  /// Any thread. Exceptions of a task are logged.
  void post(std::function<void()> task);

  /// Drops the waiting tasks and accepts no more. Waits briefly for the one that is running, so
  /// that it does not outlive what it uses at the end of the process.
  void finish();

 private:
  void run();

  std::mutex mutex_;
  std::condition_variable idle_;
  std::deque<std::function<void()>> tasks_;
  bool running_ = false;
  bool finished_ = false;
};

}  // namespace nx
