// Sessions woken by an event are notified together once the event has gone to all of them: one
// wake-up of the sending thread instead of one per session.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/value_tree/nx_session.h"

namespace nx {

/// The sender for the sessions of one runtime.
class session_waker {
 public:
  virtual ~session_waker() = default;
  virtual void wake(std::vector<std::shared_ptr<nx_session>> sessions) = 0;
};

/// While an object exists, wake-ups on its thread are collected.
class delivery_batch {
 public:
  /// For so many sessions at most.
  explicit delivery_batch(std::size_t sessions);
  ~delivery_batch();
  delivery_batch(const delivery_batch&) = delete;
  delivery_batch& operator=(const delivery_batch&) = delete;

  /// Wakes the session's sender, at once or at the end of the batch.
  static void wake(session_waker& waker, std::shared_ptr<nx_session> session);

 private:
  delivery_batch* outer_;
  const std::size_t most_;
  session_waker* waker_ = nullptr;
  std::vector<std::shared_ptr<nx_session>> sessions_;
};

}  // namespace nx
