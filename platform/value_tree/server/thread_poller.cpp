#include "platform/value_tree/server/thread_poller.h"

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

#include "platform/note_log/note_log.h"
#include "platform/value_tree/nx_db_node.h"
#include "platform/value_tree/thread_rank.h"
#include "platform/wire/failure.h"

namespace nx {

thread_poller::thread_poller(const limits& bounds)
    : limits_(bounds), timekeeper_([this] { keep_time(); }) {}

thread_poller::~thread_poller() {
  stop();
}

void thread_poller::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  time_changed_.notify_all();
  work_.notify_all();
  if (timekeeper_.joinable()) timekeeper_.join();
  // No more workers can be added.
  for (auto& each : workers_)
    each.thread.join();
  workers_.clear();
}

std::size_t thread_poller::worker_count() const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::count_if(workers_.begin(), workers_.end(),
                                                [](const worker& each) { return !each.ended; }));
}

void thread_poller::add(std::weak_ptr<nx_db_leaf_node> node, std::weak_ptr<const void> group,
                        std::chrono::milliseconds interval) {
  const std::lock_guard lock(mutex_);
  interval = std::max(interval, slot);
  put({std::move(node), std::move(group), interval, clock::now() + interval});
}

void thread_poller::put(task added) {
  const auto since_slot = added.due.time_since_epoch() % slot;
  if (since_slot.count() > 0) added.due += slot - since_slot;
  // The timekeeper is waiting for the slot that was first so far.
  if (wheel_.empty() || added.due < wheel_.begin()->first) time_changed_.notify_one();
  wheel_[added.due].push_back(std::move(added));
}

void thread_poller::keep_time() {
  take_rank("nx_poll_time", thread_rank::serving);
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    const auto now = clock::now();
    take_due(now);
    find_slow(now);
    engage();
    count_surplus(now);
    join_ended(lock);
    const auto look = next_look(now);
    if (look == clock::time_point::max()) {
      time_changed_.wait(lock);
    } else {
      time_changed_.wait_until(lock, look);
    }
  }
}

void thread_poller::take_due(clock::time_point now) {
  while (!wheel_.empty() && wheel_.begin()->first <= now) {
    for (auto& due : wheel_.begin()->second)
      (due.slow ? slow_ready_ : quick_ready_).push_back(std::move(due));
    wheel_.erase(wheel_.begin());
  }
}

/// A worker that has waited long in a quick value makes room for another.
void thread_poller::find_slow(clock::time_point now) {
  for (auto& each : workers_) {
    if (each.state != doing::quick || now - each.since < limits_.slow_after) continue;
    const auto since = each.since;
    enter(each, doing::slow);
    each.since = since;
  }
}

/// One more worker for each queue that has work and may have another. If it does not finish
/// shortly, it calls for the next.
void thread_poller::engage() {
  if (!quick_ready_.empty() && in_quick_ < limits_.quick) engage_one();
  if (!slow_ready_.empty() && in_slow_ < limits_.slow) engage_one();
}

void thread_poller::engage_one() {
  if (idle_ > 0) return work_.notify_one();
  if (workers_.size() >= limits_.workers) return;
  auto& added = workers_.emplace_back();
  added.since = clock::now();
  try {
    added.thread = std::thread([this, &added] { work(added); });
    ++idle_;
  } catch (const std::system_error& error) {
    workers_.pop_back();
    note_log::write(note_log::warning, "nexel_api",
                    std::string("No further poller: ") + error.what());
  }
}

void thread_poller::count_surplus(clock::time_point now) {
  if (now - counted_since_ < limits_.idle) return;
  const auto live = idle_ + in_quick_ + in_slow_;
  const auto needed = std::max<std::size_t>(busiest_, 1);
  surplus_ = live > needed ? live - needed : 0;
  busiest_ = in_quick_ + in_slow_;
  counted_since_ = now;
  if (surplus_ > 0) work_.notify_all();
}

void thread_poller::join_ended(std::unique_lock<std::mutex>& lock) {
  std::list<worker> ended;
  for (auto each = workers_.begin(); each != workers_.end();) {
    const auto next = std::next(each);
    if (each->ended) ended.splice(ended.end(), workers_, each);
    each = next;
  }
  if (ended.empty()) return;
  lock.unlock();
  for (auto& each : ended)
    each.thread.join();
  lock.lock();
}

thread_poller::clock::time_point thread_poller::next_look(clock::time_point now) const {
  auto look = wheel_.empty() ? clock::time_point::max() : wheel_.begin()->first;
  const bool can_help = idle_ > 0 || workers_.size() < limits_.workers;
  const bool wants_help = (!quick_ready_.empty() && in_quick_ < limits_.quick) ||
                          (!slow_ready_.empty() && in_slow_ < limits_.slow);
  if (can_help && wants_help) look = std::min(look, now + limits_.help_after);
  for (const auto& each : workers_) {
    if (each.state == doing::quick) look = std::min(look, each.since + limits_.slow_after);
  }
  return look;
}

void thread_poller::enter(worker& self, doing state) {
  const auto count_of = [this](doing which) -> std::size_t& {
    return which == doing::nothing ? idle_ : which == doing::quick ? in_quick_ : in_slow_;
  };
  --count_of(self.state);
  ++count_of(state);
  busiest_ = std::max(busiest_, in_quick_ + in_slow_);
  self.state = state;
  self.since = clock::now();
}

void thread_poller::work(worker& self) {
  take_rank("nx_poller", thread_rank::serving);
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    if (auto* queue = next_queue()) {
      execute(self, *queue, lock);
      continue;
    }
    if (surplus_ > 0) {
      --surplus_;
      break;
    }
    const bool was_idle =
        work_.wait_until(lock, self.since + limits_.idle) == std::cv_status::timeout;
    const bool is_last = workers_.size() == 1;
    if (was_idle && !is_last && next_queue() == nullptr) break;
    if (was_idle && is_last) self.since = clock::now();
  }
  --idle_;
  self.ended = true;
}

std::deque<thread_poller::task>* thread_poller::next_queue() {
  if (!quick_ready_.empty() && in_quick_ < limits_.quick) return &quick_ready_;
  if (!slow_ready_.empty() && in_slow_ < limits_.slow) return &slow_ready_;
  return nullptr;
}

void thread_poller::execute(worker& self, std::deque<task>& queue,
                            std::unique_lock<std::mutex>& lock) {
  task due = std::move(queue.front());
  queue.pop_front();
  enter(self, due.slow ? doing::slow : doing::quick);
  const auto begin = self.since;
  lock.unlock();
  const bool goes_on = poll(due);
  lock.lock();
  enter(self, doing::nothing);
  if (!goes_on) return;
  const auto now = clock::now();
  due.slow = now - begin >= limits_.slow_after;
  // Turns missed while the node was busy are not made up for.
  do {
    due.due += due.interval;
  } while (due.due <= now);
  put(std::move(due));
}

bool thread_poller::poll(const task& due) {
  const auto node = due.node.lock();
  if (!node || node->is_retired() || due.group.expired()) return false;
  try {
    node->periodic_task(false);
  } catch (...) {
    note_log::write(note_log::error, "nexel_api",
                    "Polling of " + node->get_path(0) + " failed: " + current_node_error().message);
  }
  return true;
}

}  // namespace nx
