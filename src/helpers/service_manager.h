// What the process tells the service manager that started it (systemd, or another that speaks its
// notification protocol): that it serves, what it does, and that its manager thread is alive. A
// watchdog is fed by that thread alone, so that a process whose regulation has ended does not look
// alive. Without a service manager nothing here has any effect.
//
// Any thread; nothing here throws or waits.
#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace helpers {

class service_manager {
 public:
  static service_manager& instance();

  /// The tree takes connections.
  void ready();
  void stopping();
  /// One line for people; told when it changes.
  void status(const std::string& line);

  /// From here on the calling thread feeds the watchdog, if the service manager has set one.
  void watch_this_thread();
  /// From the watched thread: nothing feeds the watchdog any more, and where one is set the service
  /// manager is asked to act at once, with `why` as the status.
  void give_up_this_thread(const std::string& why);

  /// A sign of life; counts from the watched thread alone. Cheap enough for the shortest waits.
  void alive();
  /// How long the calling thread may go on without a sign of life; the maximum if it is not
  /// watched.
  std::chrono::nanoseconds longest_silence() const;

 private:
  service_manager();
  struct impl;
  std::unique_ptr<impl> impl_;
};

}  // namespace helpers
