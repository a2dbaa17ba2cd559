#include "platform/nexel_client/serial_executor.h"

#include <chrono>
#include <exception>
#include <string>
#include <system_error>
#include <thread>

#include "platform/note_log/note_log.h"

namespace nx {

namespace {

struct process_executor {
  std::shared_ptr<serial_executor> executor = std::make_shared<serial_executor>();
  ~process_executor() { executor->finish(); }
};

void run_logged(const std::function<void()>& task) {
  try {
    task();
  } catch (const std::exception& error) {
    note_log::write(note_log::error, "nexel_client",
                    std::string("A connection event threw: ") + error.what());
  } catch (...) {
    note_log::write(note_log::error, "nexel_client", "A connection event threw");
  }
}

}  // namespace

std::shared_ptr<serial_executor> serial_executor::process_wide() {
  static process_executor owner;
  return owner.executor;
}

void serial_executor::post(std::function<void()> task) {
  std::lock_guard lock(mutex_);
  if (finished_) return;
  tasks_.push_back(std::move(task));
  if (running_) return;
  try {
    std::thread([self = shared_from_this()] { self->run(); }).detach();
    running_ = true;
  } catch (const std::system_error& failure) {
    // The system has no thread at the moment; the task waits for the next attempt.
    note_log::write(note_log::error, "nexel_client",
                    std::string("A connection event has to wait: ") + failure.what());
  }
}

void serial_executor::finish() {
  constexpr std::chrono::seconds patience{1};
  std::unique_lock lock(mutex_);
  finished_ = true;
  tasks_.clear();
  idle_.wait_for(lock, patience, [this] { return !running_; });
}

void serial_executor::run() {
  std::unique_lock lock(mutex_);
  while (!tasks_.empty()) {
    auto task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    run_logged(task);
    task = nullptr;  // may hold the last reference, and is destroyed without the lock
    lock.lock();
  }
  running_ = false;
  idle_.notify_all();
}

}  // namespace nx
