// Reports when a loop goes down and comes up again, to the log and the events: once each, and with
// the failure that took it down. A loop that is set up again and fails in its next cycle counts as
// down throughout.
//
// On the thread of the loop, which is the manager's but for the panel's; throws nothing.
#pragma once

#include <chrono>
#include <string>

namespace insight {

class loop_watch {
 public:
  /// `name`: "line", "client rx", "panel"; the text must outlive the object.
  explicit loop_watch(const char* name) : name_(name) {}

  /// At the end of a cycle: whether the loop completed it, and what failed.
  void look(bool went_through, const std::string& failure);

  bool is_down() const { return down_; }
  const std::string& reason() const { return reason_; }

 private:
  const char* name_;
  bool down_ = false;
  std::chrono::steady_clock::time_point since_{};
  std::string reason_;
};

}  // namespace insight
