// The guards on top of the laws of regulation, and whether they are active: each guard withholds
// writes that would be based on something unknown, or frees what would be stuck forever. Guards
// report here when they begin and end on a subject; the register writes one log line for each,
// counts the withheld writes, and is what the tree shows.
//
// The rules themselves are pure functions next to the loops' phases (base/guards). All threads.
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

/// A guard, defined once as a constant next to its rule. `name` is its name on the tree, in the log
/// and in docs/decisions.
struct guard_kind {
  const char* name;
  /// Level of the begin and end lines: 2, or 1 for a guard that is active on a healthy node in
  /// ordinary work.
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

  /// A guard that has begun or ended on a subject.
  struct change {
    const guard_kind& guard;
    const std::string& subject;
    bool begins;
    const active_guard& what;
    std::chrono::nanoseconds lasted{0};
  };
  using observer = std::function<void(const change&)>;

  static guard_register& instance();

  /// Called at each begin and end, on the guard's thread and without holding a lock of the
  /// register. Replaces the previous one.
  void set_observer(observer told);

  /// The guard is active on the subject. The first call logs `reason`; later ones keep the first
  /// reason.
  void begin(const guard_kind& guard, const std::string& subject, const std::string& reason);
  /// As `begin`, and one write that the law would have made was withheld.
  void withhold(const guard_kind& guard, const std::string& subject, const std::string& reason);
  /// The guard is no longer active on the subject; no effect if it was not.
  void end(const guard_kind& guard, const std::string& subject);
  /// `begin` or `end`, depending on the condition.
  void show(const guard_kind& guard, const std::string& subject, bool active,
            const std::string& reason);

  bool is_active(const guard_kind& guard, const std::string& subject) const;
  /// Every guard that has been active, by name.
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

  mutable std::mutex mutex_;  // only the log's own locks are taken under it
  std::map<std::string, state, std::less<>> states_;
  std::shared_ptr<const observer> observer_;
};

}  // namespace helpers
