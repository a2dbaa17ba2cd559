// One way to log a failure: the exception in flight, in the form of its type. Called inside a catch
// block; the place of the guard is its std::source_location, whose function name is the full
// signature.
#pragma once

#include <source_location>

namespace helpers {

/// Whether the guard stops the exception or throws it on: the form for foreign exceptions tells.
enum class after_logging { stops, throws_on };

/// Logs the current exception at level 2 in one of the four forms.
void log_current_exception(after_logging next = after_logging::stops,
                           const std::source_location& where = std::source_location::current());

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

/// Runs `action`; a failure is logged and thrown on. `on_failure` runs between the two.
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
