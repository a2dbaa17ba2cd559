#include "device/nexel_value_subscriber.h"

#include <type_traits>
#include <utility>

#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/nx_error.h"

namespace device {

path_event::path_event(std::string path) : path_(std::move(path)) {
  LUMORA_LOG(0, "path event {} created", path_);
}

path_event::~path_event() {
  LUMORA_LOG(0, "path event {} destroyed", path_);
}

template <class T>
void path_event::on_value_changed(std::string_view path, const std::function<void(T)>& store,
                                  T value) {
  LUMORA_LOG(0, "on_value_changed({}): {}", path, value);
  store(std::move(value));
  exception_count_ = 0;
}

void path_event::on_exception_received(std::string_view path,
                                       const nx_client_exception& exception) {
  if (exception_count_ == 0 || last_failure_ != exception.message) {
    LUMORA_LOG(2, "on_exception_received({}): {}", path, exception.message);
    last_failure_ = exception.message;
  } else {
    LUMORA_LOG(0, "on_exception_received({}): {}", path, exception.message);
  }
  operational_ = false;
  ++exception_count_;
}

void path_event::on_variable_removed(std::string_view path, subscription_ended_rc) {
  LUMORA_LOG(1, "on_variable_removed({})", path);
  operational_ = false;
  removed_ = true;
}

bool path_event::is_operational() {
  if (exception_count_ > exception_limit) {
    LUMORA_LOG(2, "Path {} has too many exceptions, removing subscription on .", path_);
    removed_ = true;
  }
  return operational_;
}

template <class T>
nexel_value_subscriber<T>::nexel_value_subscriber(const std::string& path,
                                                  std::weak_ptr<path_event> event,
                                                  std::shared_ptr<value_table<T>> values,
                                                  const std::string& nexel, reading_kind kind)
    : nexel_subscriber(path),
      event_(std::move(event)),
      values_(std::move(values)),
      subject_(nexel + ' ' + path),
      kind_(kind) {}

template <class T>
nexel_value_subscriber<T>::~nexel_value_subscriber() {
  show_refusal(false, {});
}

template <class T>
void nexel_value_subscriber<T>::send_changed_value_event(std::string_view path,
                                                         const nx::json_value& value) {
  if (const auto event = event_.lock()) take(*event, path, convert(value));
}

template <class T>
T nexel_value_subscriber<T>::convert(const nx::json_value& value) {
  try {
    return nx::from_json<T>(value);
  } catch (...) {
    spoil(false);
    throw;
  }
}

// A number outside the range of its kind is refused like a value of another type: the last good one
// stays, but is no longer known. Logged once, since a broken device repeats it at each look.
template <class T>
void nexel_value_subscriber<T>::take(path_event& event, std::string_view path, T value) {
  auto judged = verdict::measured;
  if constexpr (std::is_same_v<T, float>) {
    judged = judge(kind_, value);
    if (judged == verdict::refused) {
      spoil(false);
      return show_refusal(true, refusal_text(kind_, value));
    }
  }
  show_refusal(false, {});
  const auto store = [&](T taken) {
    values_->store(this->get_path(), std::move(taken), judged == verdict::measured);
  };
  event.on_value_changed<T>(path, store, std::move(value));
  helpers::waiting::instance().wake();
}

template <class T>
void nexel_value_subscriber<T>::spoil(bool refused, bool missing) {
  values_->spoil(this->get_path(), refused, missing);
  helpers::waiting::instance().wake();
}

template <class T>
void nexel_value_subscriber<T>::show_refusal(bool refused, const std::string& reason) {
  if (refusing_.exchange(refused) == refused) return;
  helpers::guard_register::instance().show(plausibility_guard, subject_, refused, reason);
}

template <class T>
void nexel_value_subscriber<T>::send_exception_event(std::string_view path,
                                                     const nx_client_exception& error) {
  const auto event = event_.lock();
  if (!event) return;
  event->on_exception_received(path, error);
  spoil(!confirmed_, error.code == nx_error::not_found);
}

template <class T>
void nexel_value_subscriber<T>::send_subscription_ended_event(std::string_view path,
                                                              subscription_ended_rc rc) {
  const auto event = event_.lock();
  if (!event) return;
  event->on_variable_removed(path, rc);
  spoil(false, true);
}

template class nexel_value_subscriber<bool>;
template class nexel_value_subscriber<float>;
template class nexel_value_subscriber<std::string>;

}  // namespace device
