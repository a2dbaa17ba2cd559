#include "device/path_event.h"

#include <utility>

#include "helpers/logger.h"

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

template void path_event::on_value_changed<bool>(std::string_view, const std::function<void(bool)>&,
                                                 bool);
template void path_event::on_value_changed<float>(std::string_view,
                                                  const std::function<void(float)>&, float);
template void path_event::on_value_changed<std::string>(std::string_view,
                                                        const std::function<void(std::string)>&,
                                                        std::string);

}  // namespace device
