// The client library's callback for one subscribed path: converts values and reports to the path's
// state, which it does not keep alive. Called on the I/O thread; it only stores.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/nexel_client/nexel_subscriber.h"

namespace device {

class path_event;

/// T: bool, float, std::string.
template <class T>
class nexel_value_subscriber : public nexel_subscriber {
 public:
  nexel_value_subscriber(const std::string& path, std::weak_ptr<path_event> event,
                         std::function<void(T)> store);
  ~nexel_value_subscriber() override;

  /// Throws json_value_conversion_error on a value of another type.
  void send_changed_value_event(std::string_view path, const nx::json_value& value) override;
  void send_exception_event(std::string_view path, const nx_client_exception& error) override;
  void send_subscription_ended_event(std::string_view path, subscription_ended_rc rc) override;

 private:
  const std::weak_ptr<path_event> event_;
  const std::function<void(T)> store_;
};

}  // namespace device
