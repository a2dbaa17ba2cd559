// For objects that belong to one thread: the loops to the manager's, the panel's state to the
// LEDs'. The first thread that uses the object owns it; a debug build aborts if another one does.
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
