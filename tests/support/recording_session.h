// A session that records what it is sent.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/value_tree/nx_session.h"

namespace test {

/// "PATH = VALUE", "PATH ! CODE MESSAGE", "PATH ended REASON"; a subscription's first event with
/// "first " in front.
class recording_session : public nx_session {
 public:
  void deliver(nx_event_ptr event, nx_subscription_number, bool first) override;
  void subscription_ended(const std::string& path, const std::string& reason) override {
    keep(path + " ended " + reason);
  }
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(kept_, {});
  }

 private:
  void keep(const std::string& text) {
    const std::lock_guard lock(mutex_);
    kept_.push_back(text);
  }

  std::mutex mutex_;
  std::vector<std::string> kept_;
};

}  // namespace test
