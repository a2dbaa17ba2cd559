// The client library's callback for one subscribed path: converts and judges each value, stores it,
// and reports to the path's state, which it does not keep alive. Called on the I/O thread.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "device/reading_kind.h"
#include "device/subscriber_values.h"
#include "helpers/guard_register.h"
#include "platform/nexel_client/nexel_subscriber.h"

namespace device {

class path_event;

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
