// The service manager's end of the notification protocol: what a process tells it, in order.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test {

class notify_socket {
 public:
  /// Listens at `path`, which NOTIFY_SOCKET is to be.
  explicit notify_socket(const std::string& path);
  ~notify_socket();
  notify_socket(const notify_socket&) = delete;
  notify_socket& operator=(const notify_socket&) = delete;

  /// True once this many more messages with this text have arrived.
  bool wait_for_more(const std::string& message, unsigned times = 1);
  /// True once the text is there, or as soon as it comes.
  bool wait_for(const std::string& message);

  std::vector<std::string> messages() const;
  unsigned count(const std::string& message) const;

 private:
  bool wait_for_count(const std::string& message, unsigned wanted);
  void collect();

  int number_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> messages_;
  std::thread collector_;
};

}  // namespace test
