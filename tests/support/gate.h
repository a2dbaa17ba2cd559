// Stops every thread that passes until it is opened.
#pragma once

#include <condition_variable>
#include <mutex>

namespace test {

class gate {
 public:
  gate() = default;
  /// Lets everybody through first: a thread that passes may not be through when a test ends.
  ~gate() {
    std::unique_lock lock(mutex_);
    open_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return passing_ == 0; });
  }
  gate(const gate&) = delete;
  gate& operator=(const gate&) = delete;

  void pass() {
    std::unique_lock lock(mutex_);
    ++arrived_;
    ++passing_;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
    --passing_;
    changed_.notify_all();
  }
  void open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
    changed_.notify_all();
  }
  void wait_for_arrivals(int count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return arrived_ >= count; });
  }
  int arrivals() {
    const std::lock_guard lock(mutex_);
    return arrived_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int arrived_ = 0;
  int passing_ = 0;
  bool open_ = false;
};

}  // namespace test
