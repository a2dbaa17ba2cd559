// What keeps the node from starting as it should, or makes it start with less than it needs: each
// once in the log, at error severity, with its cause and what to do; and for "insight/start" until
// it is over. What the process does about it, to wait or to end, is not decided here.
//
// Any thread; nothing here throws. Cheap while nothing is wrong.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace helpers {

class start_report {
 public:
  static start_report& instance();

  /// `subject` names what is wrong ("store", "calibration"); the same text again is not told again.
  void tell(const std::string& subject, const std::string& cause_and_remedy);
  /// It is well now.
  void clear(const std::string& subject);

  /// One line for each subject; empty when nothing is wrong.
  std::string text() const;

  /// Of each text that is new; those of before are told at once. Replaces the one before.
  using observer = std::function<void(const std::string& subject, const std::string& text)>;
  void set_observer(observer told);
  /// Forgets everything but the observer; for tests.
  void reset();

 private:
  start_report() = default;

  std::atomic<bool> any_{false};
  mutable std::mutex mutex_;
  std::map<std::string, std::string> faults_;  // by subject
  observer observer_;
};

}  // namespace helpers
