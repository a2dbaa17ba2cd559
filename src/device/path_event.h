// The state of one subscribed path. The client library's I/O thread reports to it, the loops ask
// it.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/nexel_client/nexel_subscriber.h"

namespace device {

class path_event {
 public:
  explicit path_event(std::string path);
  ~path_event();
  path_event(const path_event&) = delete;
  path_event& operator=(const path_event&) = delete;

  /// T: bool, float, std::string. `store` takes the value.
  template <class T>
  void on_value_changed(std::string_view path, const std::function<void(T)>& store, T value);
  /// A failure that repeats, as a refused subscription does each second, is reported once.
  void on_exception_received(std::string_view path, const nx_client_exception& exception);
  void on_variable_removed(std::string_view path, subscription_ended_rc reason);

  /// False from the first failure on, permanently: only a new subscription repairs a path. Marks a
  /// path that fails repeatedly as removed.
  bool is_operational();
  bool is_removed() const { return removed_; }

  /// Number of consecutive failures, without a value in between, that a subscription survives.
  static constexpr std::uint32_t exception_limit = 10;

 private:
  const std::string path_;
  std::atomic<bool> operational_{true};
  std::atomic<bool> removed_{false};
  std::atomic<std::uint32_t> exception_count_{0};
  std::string last_failure_;  // the reporting thread's
};

}  // namespace device
