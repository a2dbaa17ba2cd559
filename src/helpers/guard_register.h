// What stands above the laws of regulation, and whether it is at work: each guard withholds writes
// that would rest on something unknown, or brings back what would stay dead. A guard tells here on
// whom it begins and ends; the register writes one log line for each, counts the writes that were
// withheld, and is what the tree shows.
//
// The rules themselves are pure functions beside the loops' phases (base/guards). All threads.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace helpers {

/// A guard, defined once as a constant beside its rule. `name` is its name on the tree, in the log
/// and of its page in docs/decisions.
struct guard_kind {
  const char* name;
  /// Of the lines at begin and end: 2, or 1 for what a healthy node meets in ordinary work.
  int log_level = 2;
};

class guard_register {
 public:
  using time_point = std::chrono::system_clock::time_point;

  /// A guard on one subject: "client rx 19230000", "line", "preamp".
  struct active_guard {
    time_point since;
    std::string reason;
    std::uint64_t withheld = 0;
  };
  struct state {
    std::string name;
    std::map<std::string, active_guard> active;  ///< by subject
    std::uint64_t withheld = 0;                  ///< writes, since the start
  };

  /// A guard that has begun, or has ended, on a subject.
  struct change {
    const guard_kind& guard;
    const std::string& subject;
    bool begins;
    const active_guard& what;
    std::chrono::nanoseconds lasted{0};
  };
  using observer = std::function<void(const change&)>;

  static guard_register& instance();

  /// Told of each begin and end, on the guard's thread and under no lock of the register. Replaces
  /// the one before.
  void set_observer(observer told);

  /// The guard is at work on the subject; the first call logs `reason`, later ones keep the first.
  void begin(const guard_kind& guard, const std::string& subject, const std::string& reason);
  /// As `begin`, and one write that the law would have made did not happen.
  void withhold(const guard_kind& guard, const std::string& subject, const std::string& reason);
  /// The guard has let go of the subject; nothing for one that it was not on.
  void end(const guard_kind& guard, const std::string& subject);
  /// `begin` or `end`, whichever holds.
  void show(const guard_kind& guard, const std::string& subject, bool active,
            const std::string& reason);

  bool is_active(const guard_kind& guard, const std::string& subject) const;
  std::uint64_t withheld(const guard_kind& guard) const;
  /// Of every guard that has been at work, by name.
  std::vector<state> states() const;
  /// Forgets everything but the observer; for tests.
  void reset();

 private:
  guard_register() = default;
  /// Whether the guard is new on the subject, and its record there.
  std::pair<active_guard&, bool> enter(const guard_kind& guard, const std::string& subject,
                                       const std::string& reason);
  void enter_and_tell(const guard_kind& guard, const std::string& subject,
                      const std::string& reason, unsigned writes);

  mutable std::mutex mutex_;  // nothing but the log's own is taken under it
  std::map<std::string, state, std::less<>> states_;
  std::shared_ptr<const observer> observer_;
};

}  // namespace helpers
