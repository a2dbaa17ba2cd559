#include "helpers/waiting.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <thread>

#include "helpers/service_manager.h"

namespace helpers {

namespace {

using namespace std::chrono_literals;

/// Below this a condition variable costs more than the sleep itself; the retry loops of the device
/// accesses sleep a microsecond at a time.
constexpr std::chrono::nanoseconds shortest_interruptible = 100us;

/// The shortest kernel sleep takes tens of microseconds, and a million looks at a new subscription
/// would take a minute, with the callers' locks held.
constexpr std::chrono::nanoseconds shortest_kernel_sleep = 10us;

void yield_through(std::chrono::nanoseconds duration) {
  const auto end = std::chrono::steady_clock::now() + duration;
  do {
    std::this_thread::yield();
  } while (std::chrono::steady_clock::now() < end);
}

void sleep_through(std::chrono::nanoseconds duration) {
  if (duration < shortest_kernel_sleep) return yield_through(duration);
  timespec left{0, static_cast<long>(duration.count())};
  while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

class real_clock : public time_source {
 public:
  std::chrono::steady_clock::time_point steady_now() override {
    return std::chrono::steady_clock::now();
  }

  std::chrono::system_clock::time_point system_now() override {
    return system_start + std::chrono::duration_cast<std::chrono::system_clock::duration>(
                              std::chrono::steady_clock::now() - steady_start);
  }

  void sleep(std::chrono::nanoseconds duration) override {
    if (duration <= 0ns || interrupted) return;
    if (duration < shortest_interruptible) return sleep_through(duration);
    std::unique_lock lock(mutex);
    changed.wait_until(lock, std::chrono::steady_clock::now() + duration,
                       [this] { return interrupted.load(); });
  }

  void interrupt() override {
    {
      const std::lock_guard lock(mutex);
      interrupted = true;
    }
    changed.notify_all();
  }

  void wait(const std::function<bool()>& done, std::chrono::nanoseconds limit) override {
    std::unique_lock lock(mutex);
    changed.wait_until(lock, std::chrono::steady_clock::now() + limit,
                       [&] { return interrupted.load() || done(); });
  }

  // The lock ensures that no waiter is between its check and its sleep.
  void wake() override {
    { const std::lock_guard lock(mutex); }
    changed.notify_all();
  }

 private:
  const std::chrono::system_clock::time_point system_start = std::chrono::system_clock::now();
  const std::chrono::steady_clock::time_point steady_start = std::chrono::steady_clock::now();
  std::mutex mutex;
  std::condition_variable changed;
  std::atomic<bool> interrupted{false};
};

/// The manager thread gives a sign of life in each of its waits, however long, at the interval set
/// by the service manager, if there is one. `wait_for` returns whether to continue.
template <class Wait>
void in_pieces(std::chrono::nanoseconds duration, Wait&& wait_for) {
  auto& watched_by = service_manager::instance();
  bool goes_on = true;
  while (goes_on) {
    const auto piece = std::min(duration, watched_by.longest_silence());
    duration -= piece;
    goes_on = wait_for(piece) && duration > 0ns;
    watched_by.alive();
  }
}

}  // namespace

void time_source::wait(const std::function<bool()>& done, std::chrono::nanoseconds limit) {
  constexpr std::chrono::nanoseconds look = 1ms;
  for (; !done() && limit > 0ns; limit -= look) {
    if (waiting::instance().stopping()) return;
    sleep(std::min(look, limit));
  }
}

struct waiting::impl {
  std::shared_ptr<time_source> current() {
    const std::lock_guard lock(mutex);
    return source;
  }

  std::mutex mutex;
  std::shared_ptr<time_source> source = std::make_shared<real_clock>();
  std::atomic<bool> stopping{false};
  std::atomic<unsigned> waiters{0};
};

waiting::waiting() : impl_(std::make_unique<impl>()) {}

waiting& waiting::instance() {
  // Never destroyed: a thread of a library may still ask for the time while the process exits.
  static auto* the_waiting = new waiting;
  return *the_waiting;
}

std::chrono::steady_clock::time_point waiting::steady_now() {
  return impl_->current()->steady_now();
}

std::chrono::system_clock::time_point waiting::system_now() {
  return impl_->current()->system_now();
}

bool waiting::sleep(std::chrono::nanoseconds duration) {
  if (stopping()) return false;
  const auto source = impl_->current();
  in_pieces(duration, [&](std::chrono::nanoseconds piece) {
    source->sleep(piece);
    return !stopping();
  });
  return !stopping();
}

// A thread that changes the condition either sees the waiter counted, or made the change before the
// waiter's first check.
bool waiting::wait(const std::function<bool()>& done, std::chrono::nanoseconds limit) {
  struct counted {
    std::atomic<unsigned>& count;
    explicit counted(std::atomic<unsigned>& of) : count(of) { ++count; }
    ~counted() { --count; }
  } const waiter{impl_->waiters};
  if (stopping()) return false;
  const auto source = impl_->current();
  in_pieces(limit, [&](std::chrono::nanoseconds piece) {
    source->wait(done, piece);
    return !stopping() && !done();
  });
  return !stopping() && done();
}

void waiting::wake() {
  if (impl_->waiters > 0) impl_->current()->wake();
}

void waiting::stop() {
  impl_->stopping = true;
  impl_->current()->interrupt();
}

bool waiting::stopping() const {
  return impl_->stopping;
}

void waiting::set_source(std::shared_ptr<time_source> source) {
  const std::lock_guard lock(impl_->mutex);
  impl_->source = source ? std::move(source) : std::make_shared<real_clock>();
  impl_->stopping = false;
}

}  // namespace helpers
