// One way to log a failure: the exception in flight, in the form of its type. Called inside a catch
// block; the place of the guard is its std::source_location, whose function name is the full
// signature.
#pragma once

#include <cstddef>
#include <exception>
#include <set>
#include <source_location>
#include <string>

namespace helpers {

/// Whether the guard stops the exception or throws it on: the form for foreign exceptions tells.
enum class after_logging { stops, throws_on };

/// Logs the current exception at level 2 in one of the four forms.
void log_current_exception(after_logging next = after_logging::stops,
                           const std::source_location& where = std::source_location::current());

/// What the current exception says, without its place.
std::string current_exception_text();

/// What the failure said that this thread logged last, without its place; empty after it has been
/// taken.
std::string take_last_failure();

/// Runs `action`; a failure is logged and stops here. True if there was none.
template <class Action>
bool guarded(Action&& action, const std::source_location& where = std::source_location::current()) {
  try {
    action();
    return true;
  } catch (...) {
    log_current_exception(after_logging::stops, where);
    return false;
  }
}

/// The guards of a walk over many things of a kind: what fails for one ends that one's turn alone.
/// A failure that several share, as that of a device which all of them ask, is logged once.
class walk_guard {
 public:
  explicit walk_guard(const std::source_location& where = std::source_location::current())
      : where_(where) {}

  template <class Action>
  void run(Action&& action) {
    try {
      action();
    } catch (...) {
      take_current_exception();
    }
  }

  /// Of how many turns.
  std::size_t failures() const { return failures_; }
  /// Throws the first failure when none of the turns went well.
  void throw_if_all_failed(std::size_t turns) const;

 private:
  void take_current_exception();

  std::source_location where_;
  std::set<std::string> logged_;
  std::size_t failures_ = 0;
  std::exception_ptr first_;
};

/// Logs the current exception, which is going to be thrown on, unless a guard below has done so:
/// that one knew more of the place.
void log_once_on_the_way(const std::source_location& where);

/// Runs `action`; a failure is logged and thrown on. `on_failure` runs between the two.
template <class Action, class OnFailure>
void logged_and_thrown(Action&& action, OnFailure&& on_failure,
                       const std::source_location& where = std::source_location::current()) {
  try {
    action();
  } catch (...) {
    on_failure();
    log_once_on_the_way(where);
    throw;
  }
}

}  // namespace helpers
