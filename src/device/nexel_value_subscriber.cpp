#include "device/nexel_value_subscriber.h"

#include <type_traits>
#include <utility>

#include "device/hardware/readings.h"
#include "device/path_event.h"
#include "platform/wire/json_conversion.h"

namespace device {

namespace {

/// A number that is none is refused as a value of another type is: the last good one stays.
template <class T>
T convert(const nx::json_value& value) {
  T converted = nx::from_json<T>(value);
  if constexpr (std::is_same_v<T, float>) {
    if (!hardware::is_plausible(converted)) {
      throw json_value_conversion_error{"a plausible reading", "a number beyond all devices"};
    }
  }
  return converted;
}

}  // namespace

template <class T>
nexel_value_subscriber<T>::nexel_value_subscriber(const std::string& path,
                                                  std::weak_ptr<path_event> event,
                                                  std::function<void(T)> store)
    : nexel_subscriber(path), event_(std::move(event)), store_(std::move(store)) {}

template <class T>
nexel_value_subscriber<T>::~nexel_value_subscriber() = default;

template <class T>
void nexel_value_subscriber<T>::send_changed_value_event(std::string_view path,
                                                         const nx::json_value& value) {
  if (const auto event = event_.lock()) {
    event->on_value_changed<T>(path, store_, convert<T>(value));
  }
}

template <class T>
void nexel_value_subscriber<T>::send_exception_event(std::string_view path,
                                                     const nx_client_exception& error) {
  if (const auto event = event_.lock()) event->on_exception_received<T>(path, store_, error);
}

template <class T>
void nexel_value_subscriber<T>::send_subscription_ended_event(std::string_view path,
                                                              subscription_ended_rc rc) {
  if (const auto event = event_.lock()) event->on_variable_removed<T>(path, store_, rc);
}

template class nexel_value_subscriber<bool>;
template class nexel_value_subscriber<float>;
template class nexel_value_subscriber<std::string>;

}  // namespace device
