// One subscribed path: its state, and the client library's callback, which converts and judges each
// value, stores it and updates the state. The callback does not keep the state alive: a subscriber
// that drops a path hears no more of it.
//
// The client library's I/O thread reports, the loops ask the state.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "device/reading_kind.h"
#include "device/subscriber_values.h"
#include "helpers/guard_register.h"
#include "platform/nexel_client/nexel_subscriber.h"

namespace device {

/// The state of one subscribed path.
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

/// Active on a path as long as its numbers are outside the range of their kind.
inline constexpr helpers::guard_kind plausibility_guard{"plausibility"};

/// T: bool, float, std::string.
template <class T>
class nexel_value_subscriber : public nexel_subscriber {
 public:
  /// `nexel` and the path together are the guard's subject.
  nexel_value_subscriber(const std::string& path, std::weak_ptr<path_event> event,
                         std::shared_ptr<value_table<T>> values, const std::string& nexel,
                         reading_kind kind);
  ~nexel_value_subscriber() override;

  /// Throws json_value_conversion_error for a value of another type.
  void send_changed_value_event(std::string_view path, const nx::json_value& value) override;
  void send_exception_event(std::string_view path, const nx_client_exception& error) override;
  void send_subscription_ended_event(std::string_view path, subscription_ended_rc rc) override;

  void subscription_requested() override { confirmed_ = false; }
  void subscription_confirmed() override { confirmed_ = true; }

 private:
  T convert(const nx::json_value& value);
  void take(path_event& event, std::string_view path, T value);
  void spoil(bool refused, bool missing = false);
  void show_refusal(bool refused, const std::string& reason);

  const std::weak_ptr<path_event> event_;
  const std::shared_ptr<value_table<T>> values_;
  const std::string subject_;
  const reading_kind kind_;
  bool confirmed_ = false;             // the I/O thread's
  std::atomic<bool> refusing_{false};  // also read when the last owner lets go
};

}  // namespace device
