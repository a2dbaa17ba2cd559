// The one way to log a failure: the current exception, in the text form for its type. Call it
// inside a catch block. The guard's place is its std::source_location, whose function name is the
// full signature.
#pragma once

#include <cstddef>
#include <exception>
#include <set>
#include <source_location>
#include <string>

namespace helpers {

/// Whether the guard stops the exception or rethrows it; the text for unknown exceptions says
/// which.
enum class after_logging { stops, throws_on };

/// Logs the current exception at level 2 in one of the four forms.
void log_current_exception(after_logging next = after_logging::stops,
                           const std::source_location& where = std::source_location::current());

/// The text of the current exception, without its place.
std::string current_exception_text();

/// The text of the failure that this thread logged last, without its place; empty once taken.
std::string take_last_failure();

/// Runs `action`; a failure is logged and stops here. Returns true if there was none.
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

/// Guards a walk over many things of a kind: a failure on one ends only that one's turn. A failure
/// shared by several, such as that of a device they all use, is logged once.
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

  /// Number of turns that failed.
  std::size_t failures() const { return failures_; }
  /// Throws the first failure if no turn succeeded.
  void throw_if_all_failed(std::size_t turns) const;

 private:
  void take_current_exception();

  std::source_location where_;
  std::set<std::string> logged_;
  std::size_t failures_ = 0;
  std::exception_ptr first_;
};

/// Runs `action`; a failure is logged and rethrown. `on_failure` runs in between.
template <class Action, class OnFailure>
void logged_and_thrown(Action&& action, OnFailure&& on_failure,
                       const std::source_location& where = std::source_location::current()) {
  try {
    action();
  } catch (...) {
    on_failure();
    log_current_exception(after_logging::throws_on, where);
    throw;
  }
}

}  // namespace helpers
