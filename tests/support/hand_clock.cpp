#include "tests/support/hand_clock.h"

#include <algorithm>

namespace test {

namespace {
constexpr std::chrono::milliseconds longest_step{100};
// Any date after the epoch will do, as long as it is always the same.
constexpr std::chrono::sys_days first_day{std::chrono::year{2026} / 1 / 1};
}  // namespace

hand_clock::hand_clock(step_function step) : step_(std::move(step)) {}

std::chrono::nanoseconds hand_clock::elapsed() const {
  const std::lock_guard lock(mutex_);
  return elapsed_;
}

std::chrono::steady_clock::time_point hand_clock::steady_now() {
  return std::chrono::steady_clock::time_point(std::chrono::hours(1) + elapsed());
}

std::chrono::system_clock::time_point hand_clock::system_now() {
  return first_day + elapsed();
}

void hand_clock::sleep(std::chrono::nanoseconds duration) {
  if (std::this_thread::get_id() == owner_) {
    advance(duration);
  } else {
    wait_for_owner(duration);
  }
}

void hand_clock::advance(std::chrono::nanoseconds duration) {
  while (duration.count() > 0) {
    const auto piece = std::min<std::chrono::nanoseconds>(duration, longest_step);
    duration -= piece;
    {
      const std::lock_guard lock(mutex_);
      elapsed_ += piece;
    }
    moved_.notify_all();
    step_(piece);
    run_due_actions();
  }
}

void hand_clock::run_due_actions() {
  const auto now = elapsed();
  while (!actions_.empty() && actions_.begin()->first <= now) {
    const auto action = actions_.begin()->second;
    actions_.erase(actions_.begin());
    action();
  }
}

void hand_clock::wait_for_owner(std::chrono::nanoseconds duration) {
  std::unique_lock lock(mutex_);
  const auto end = elapsed_ + duration;
  moved_.wait(lock, [&] { return interrupted_ || elapsed_ >= end; });
}

void hand_clock::interrupt() {
  {
    const std::lock_guard lock(mutex_);
    interrupted_ = true;
  }
  moved_.notify_all();
}

void hand_clock::at(std::chrono::nanoseconds when, std::function<void()> action) {
  actions_.emplace(when, std::move(action));
}

}  // namespace test
