// What the process reports to the service manager that started it (systemd, or another that speaks
// its notification protocol): that it is ready, what it is doing, and that its manager thread is
// alive. Only that thread feeds the watchdog, so that a process whose regulation has ended does not
// look alive. Without a service manager nothing here has any effect.
//
// Any thread; nothing here throws or blocks.
#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace helpers {

class service_manager {
 public:
  static service_manager& instance();

  /// The tree accepts connections.
  void ready();
  void stopping();
  /// One line for people; sent when it changes.
  void status(const std::string& line);

  /// From now on the calling thread feeds the watchdog, if the service manager has set one.
  void watch_this_thread();
  /// Called on the watched thread: it no longer feeds the watchdog, and if there is one the service
  /// manager is asked to act at once, with `why` as the status.
  void give_up_this_thread(const std::string& why);

  /// A sign of life; counts only from the watched thread. Cheap enough for the shortest waits.
  void alive();
  /// How long the calling thread may go without a sign of life; the maximum if it is not watched.
  std::chrono::nanoseconds longest_silence() const;

 private:
  service_manager();
  struct impl;
  std::unique_ptr<impl> impl_;
};

}  // namespace helpers
