#include "tests/support/hand_clock.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace test {

namespace {

constexpr std::chrono::milliseconds longest_step{100};
// Any date after the epoch will do, as long as it is always the same.
constexpr std::chrono::sys_days first_day{std::chrono::year{2026} / 1 / 1};
// A thread that was woken and neither sleeps again nor ends within this real time is waiting for a
// lock that a sleeping thread holds: a fault of the test.
constexpr std::chrono::seconds longest_turn{60};

/// The kernel's state of a thread of this process, after its name in brackets.
bool waits_or_has_ended(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string text;
  std::getline(file, text);
  const auto name_end = text.rfind(')');
  return name_end == text.npos || text.compare(name_end, 3, ") S") == 0;
}

}  // namespace

hand_clock::hand_clock(step_function step) : step_(std::move(step)) {}

std::chrono::nanoseconds hand_clock::elapsed() const {
  const std::lock_guard lock(mutex_);
  return elapsed_;
}

bool hand_clock::is_in_call() const {
  const std::lock_guard lock(mutex_);
  return std::any_of(sleepers_.begin(), sleepers_.end(),
                     [](const sleeper& one) { return one.held; });
}

std::chrono::steady_clock::time_point hand_clock::steady_now() {
  return std::chrono::steady_clock::time_point(std::chrono::hours(1) + elapsed());
}

std::chrono::system_clock::time_point hand_clock::system_now() {
  return first_day + elapsed();
}

void hand_clock::sleep(std::chrono::nanoseconds duration) {
  static thread_local std::chrono::nanoseconds saved{0};
  if (duration >= std::chrono::milliseconds(1)) {
    sleep_for(duration, false);
    return;
  }
  saved += duration;
  if (saved < longest_step) return;
  sleep_for(std::exchange(saved, std::chrono::nanoseconds{0}), true);
}

void hand_clock::wait(const std::function<bool()>& done, std::chrono::nanoseconds limit) {
  constexpr std::chrono::nanoseconds look = std::chrono::milliseconds(10);
  for (; !done() && limit.count() > 0; limit -= look) {
    if (helpers::waiting::instance().stopping()) return;
    sleep_for(std::min(look, limit), true);
  }
}

void hand_clock::sleep_in_call(std::chrono::nanoseconds duration) {
  sleep_for(duration, true);
}

void hand_clock::sleep_for(std::chrono::nanoseconds duration, bool held) {
  if (std::this_thread::get_id() != owner_) return park(duration, held);
  // Things that run inside a step, polls and events, have separate threads on a node and delay
  // nobody there. If time continued here, other threads would enter calls, and the rest of the step
  // would wait for them.
  if (!stepping_) advance(duration, held);
}

std::chrono::nanoseconds hand_clock::next_piece(std::chrono::nanoseconds left) {
  const std::lock_guard lock(mutex_);
  auto piece = std::min<std::chrono::nanoseconds>(left, longest_step);
  for (const auto& one : sleepers_) {
    if (one.wake > elapsed_) piece = std::min(piece, one.wake - elapsed_);
  }
  return piece;
}

void hand_clock::advance(std::chrono::nanoseconds duration, bool held) {
  while (duration.count() > 0) {
    const auto piece = next_piece(duration);
    duration -= piece;
    held_ = held;
    {
      const std::lock_guard lock(mutex_);
      elapsed_ += piece;
      for (const auto& one : sleepers_)
        held_ = held_ || one.held;
    }
    stepping_ = true;
    step_(piece);
    stepping_ = false;
    run_due_actions();
    wake_due_sleepers();
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

void hand_clock::wake_due_sleepers() {
  std::unique_lock lock(mutex_);
  for (;;) {
    const auto due = std::find_if(sleepers_.begin(), sleepers_.end(), [this](const sleeper& one) {
      return !one.awake && one.wake <= elapsed_;
    });
    if (due == sleepers_.end()) return;
    due->awake = true;
    changed_.notify_all();
    const bool turn_ended = changed_.wait_for(lock, longest_turn, [&] {
      return interrupted_ || (turn_ == std::thread::id{} &&
                              std::none_of(sleepers_.begin(), sleepers_.end(),
                                           [](const sleeper& one) { return one.awake; }));
    });
    if (!turn_ended)
      throw std::logic_error("a thread on the hand-driven clock does not sleep again");
  }
}

void hand_clock::end_turn_with_thread() {
  struct at_exit {
    std::weak_ptr<hand_clock> clock;
    ~at_exit() {
      if (const auto it = clock.lock()) it->end_turn();
    }
  };
  static thread_local at_exit end;
  end.clock = weak_from_this();
}

void hand_clock::park(std::chrono::nanoseconds duration, bool held) {
  end_turn_with_thread();
  std::unique_lock lock(mutex_);
  if (interrupted_) return;
  const auto self = std::this_thread::get_id();
  if (turn_ == self) turn_ = {};
  const auto me = sleepers_.insert(sleepers_.end(), {elapsed_ + duration, held});
  changed_.notify_all();
  changed_.wait(lock, [&] { return interrupted_ || me->awake; });
  sleepers_.erase(me);
  turn_ = self;
}

void hand_clock::end_turn() {
  const std::lock_guard lock(mutex_);
  if (turn_ == std::this_thread::get_id()) turn_ = {};
  changed_.notify_all();
}

std::jthread hand_clock::start_turn_taker(std::function<void()> body) {
  const auto parked_threads = [this] {
    const std::lock_guard lock(mutex_);
    return sleepers_.size();
  };
  const auto before = parked_threads();
  std::jthread thread([this, body = std::move(body)] {
    park(std::chrono::nanoseconds{0}, false);
    body();
  });
  // Time must not move on before the thread waits for its first turn.
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return interrupted_ || sleepers_.size() > before; });
  return thread;
}

void hand_clock::run_beside(std::function<void()> body, std::chrono::nanoseconds time) {
  std::atomic<pid_t> thread{0};
  const std::jthread beside([&thread, body = std::move(body)] {
    thread = ::gettid();
    body();
  });
  while (thread == 0 || !waits_or_has_ended(thread))
    std::this_thread::yield();
  sleep(time);
}

void hand_clock::interrupt() {
  {
    const std::lock_guard lock(mutex_);
    interrupted_ = true;
  }
  changed_.notify_all();
}

void hand_clock::at(std::chrono::nanoseconds when, std::function<void()> action) {
  actions_.emplace(when, std::move(action));
}

}  // namespace test
