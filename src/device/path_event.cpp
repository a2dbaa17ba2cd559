#include "device/path_event.h"

#include <utility>

#include "helpers/logger.h"
#include "helpers/waiting.h"

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
  last_update_ = helpers::waiting::instance().steady_now();
  exception_count_ = 0;
}

template <class T>
void path_event::on_exception_received(std::string_view path, const std::function<void(T)>&,
                                       const nx_client_exception& exception) {
  LUMORA_LOG(2, "on_exception_received({}): {}", path, exception.message);
  operational_ = false;
  ++exception_count_;
}

template <class T>
void path_event::on_variable_removed(std::string_view path, const std::function<void(T)>&,
                                     subscription_ended_rc) {
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

#define LUMORA_PATH_EVENT(T)                                                                     \
  template void path_event::on_value_changed<T>(std::string_view, const std::function<void(T)>&, \
                                                T);                                              \
  template void path_event::on_exception_received<T>(                                            \
      std::string_view, const std::function<void(T)>&, const nx_client_exception&);              \
  template void path_event::on_variable_removed<T>(                                              \
      std::string_view, const std::function<void(T)>&, subscription_ended_rc);
LUMORA_PATH_EVENT(bool)
LUMORA_PATH_EVENT(float)
LUMORA_PATH_EVENT(std::string)
#undef LUMORA_PATH_EVENT

}  // namespace device
