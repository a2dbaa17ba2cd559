// Faults that keep the node from starting, or from starting properly. Each is written once to the
// log, at error severity, with its cause and what to do, and is shown at "insight/start" until it
// is over. Whether the process then waits or exits is not decided here.
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

  /// `subject` names what is wrong ("store", "calibration"); a repeated text is not reported again.
  void tell(const std::string& subject, const std::string& cause_and_remedy);
  /// The subject is all right now.
  void clear(const std::string& subject);

  /// One line per subject; empty if nothing is wrong.
  std::string text() const;

  /// Called for each new text, and at once for existing ones. Replaces the previous observer.
  using observer = std::function<void(const std::string& subject, const std::string& text)>;
  void set_observer(const observer& told);

 private:
  start_report() = default;

  std::atomic<bool> any_{false};
  mutable std::mutex mutex_;
  std::map<std::string, std::string> faults_;  // by subject
  observer observer_;
};

}  // namespace helpers
