#include "platform/value_tree/delivery_batch.h"

#include <utility>

namespace nx {
namespace {

thread_local delivery_batch* current = nullptr;

}  // namespace

delivery_batch::delivery_batch(std::size_t sessions)
    : outer_(std::exchange(current, this)), most_(sessions) {}

delivery_batch::~delivery_batch() {
  current = outer_;
  if (waker_ != nullptr) waker_->wake(std::move(sessions_));
}

void delivery_batch::wake(session_waker& waker, std::shared_ptr<nx_session> session) {
  // A batch serves one sender; sessions of another are rare and are woken one at a time.
  const bool collects =
      current != nullptr && (current->waker_ == nullptr || current->waker_ == &waker);
  if (!collects) return waker.wake({std::move(session)});
  if (current->waker_ == nullptr) current->sessions_.reserve(current->most_);
  current->waker_ = &waker;
  current->sessions_.push_back(std::move(session));
}

}  // namespace nx
