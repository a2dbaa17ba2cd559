// Something that a pass over all channels asks a device only once, however many channels need it: a
// device that is slow or away then costs the pass one wait. The manager thread.
#pragma once

#include <exception>
#include <optional>

namespace products::orva {

template <class T>
class asked_once {
 public:
  /// Runs `ask` at the first call since `forget`. A failure counts as an answer: it is thrown
  /// again.
  template <class Ask>
  T get(const Ask& ask) {
    if (failure_) std::rethrow_exception(failure_);
    if (answer_) return *answer_;
    try {
      answer_ = ask();
    } catch (...) {
      failure_ = std::current_exception();
      throw;
    }
    return *answer_;
  }

  void forget() {
    answer_.reset();
    failure_ = nullptr;
  }

 private:
  std::optional<T> answer_;
  std::exception_ptr failure_;
};

}  // namespace products::orva
