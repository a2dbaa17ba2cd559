// For what belongs to one thread: the loops to the manager's, the panel's state to that of the
// LEDs. The first thread that comes by owns it; a debug build ends when another one follows.
#pragma once

#include <atomic>
#include <cassert>
#include <thread>

namespace nx {

class thread_owner {
 public:
#ifdef NDEBUG
  void require() const {}
#else
  void require() const {
    std::thread::id owner;
    const bool is_first = owner_.compare_exchange_strong(owner, std::this_thread::get_id());
    assert((is_first || owner == std::this_thread::get_id()) && "called by a second thread");
  }

 private:
  mutable std::atomic<std::thread::id> owner_{};
#endif
};

}  // namespace nx
