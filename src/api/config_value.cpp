#include "api/config_value.h"

#include <utility>

#include "api/json_support.h"
#include "api/parameter_watch.h"
#include "helpers/finite.h"
#include "helpers/logger.h"

namespace nx::api {
namespace {

constexpr int severity_warning = 4;

}  // namespace

template <class T>
config_value<T>::config_value(const std::string& name, std::optional<T> initial)
    : nx_db_event_node(name), value_(std::move(initial)), warn_on_read_(value_.has_value()) {}

template <class T>
config_value<T>::~config_value() = default;

template <class T>
void config_value<T>::declare_default(T value) {
  const std::lock_guard lock(info_mutex_);
  default_value_ = std::move(value);
}

template <class T>
void config_value<T>::declare_constraints(constraints_t constraints) {
  const std::lock_guard lock(info_mutex_);
  constraints_ = std::move(constraints);
}

template <class T>
void config_value<T>::set(const std::string&, const json_value& value) {
  const std::lock_guard lock(mutex_);
  T wanted = from_json<T>(value);
  if (value_ && *value_ == wanted) return;
  helpers::require_finite(wanted);
  apply(wanted);
  value_ = std::move(wanted);
  publish(*this, *value_);
  if (parameters_are_watched()) tell_parameter(get_path(0), json_text(value));
}

template <class T>
void config_value<T>::warn_once_if_unset() {
  if (!value_ || !std::exchange(warn_on_read_, false)) return;
  LUMORA_LOG_DIRECT(severity_warning, "config",
                    "Configuration parameter read before being set, path = " + get_path(0));
}

template <class T>
nx::json_value config_value<T>::read(json_allocator& allocator) {
  warn_once_if_unset();
  return value_ ? to_json(*value_, allocator) : json_value();
}

template <class T>
void config_value<T>::get(const std::string& path, json_allocator& allocator, json_value& result) {
  const std::lock_guard lock(mutex_);
  add_member(result, path, read(allocator), allocator);
}

template <class T>
void config_value<T>::reset() {
  const std::lock_guard lock(mutex_);
  value_.reset();
}

template <class T>
void config_value<T>::subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                                json_allocator& allocator, json_value& result,
                                std::unique_lock<std::recursive_mutex>& lock) {
  const std::lock_guard value_lock(mutex_);
  nx_db_event_node::subscribe(session, path, allocator, result, lock);
  add_member(result, path, read(allocator), allocator);
  if (!value_) return;
  send_first_event(*this, *value_, *session);
}

template <class T>
nx_db_leaf_node::first_value config_value<T>::subscribe_text(
    const std::shared_ptr<nx_session>& session, nx_subscription_number number, first_text& first) {
  const std::lock_guard value_lock(mutex_);
  begin_text(session, number, first);
  warn_once_if_unset();
  if (value_) {
    append_json(first.json, *value_);
  } else {
    first.json = "null";
  }
  return value_ ? first_value::value : first_value::none;
}

template <class T>
std::string config_value<T>::get_info() const {
  return "config value (read,write,subscribe)";
}

template <class T>
nx::json_value config_value<T>::get_info(json_allocator& allocator) const {
  json_value record = nx_db_event_node::get_info(allocator);
  add_text(record, "type", "config param", allocator);
  add_text(record, "valueType", value_type_name<T>(), allocator);
  add_capabilities(record, {"read", "write", "subscribe"}, allocator);
  const std::lock_guard lock(info_mutex_);
  if (default_value_) {
    add_member(record, "defaultValue", to_json(*default_value_, allocator), allocator);
  }
  add_constraints(record, allocator);
  return record;
}

template <class T>
void config_value<T>::add_constraints(json_value& record, json_allocator& allocator) const {
  if (std::holds_alternative<bool>(constraints_)) return;
  json_value object(rapidjson::kObjectType);
  const auto add = [&](const char* name, const T& value) {
    add_member(object, name, to_json(value, allocator), allocator);
  };
  if (const auto* range = std::get_if<min_max_range_t>(&constraints_)) {
    add("min", range->min);
    add("max", range->max);
  } else if (const auto* steps = std::get_if<min_max_grid_range_t>(&constraints_)) {
    add("min", steps->min);
    add("max", steps->max);
    add("grid", steps->grid);
  } else {
    json_value allowed(rapidjson::kArrayType);
    for (const T& value : std::get<std::vector<T>>(constraints_)) {
      allowed.PushBack(to_json(value, allocator), allocator);
    }
    add_member(object, "allowed", std::move(allowed), allocator);
  }
  add_member(record, "constraints", std::move(object), allocator);
}

template <class T>
bool config_value<T>::node_flag() const {
  return true;
}

template <class T>
bool config_value<T>::read_may_wait() const {
  return this->write_may_wait();
}

template class config_value<bool>;
template class config_value<float>;
template class config_value<std::string>;
template class config_value<nx::json_document>;

}  // namespace nx::api
