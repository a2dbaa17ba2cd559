#include "api/lazy_value.h"

#include "api/checked_reading.h"
#include "api/failure.h"
#include "api/json_support.h"

namespace nx::api {

template <class T>
lazy_value_base<T>::lazy_value_base(const std::string& name) : lazy_node(name) {}

template <class T>
lazy_value_base<T>::~lazy_value_base() = default;

template <class T>
typename lazy_value_base<T>::result_t lazy_value_base<T>::checked() {
  auto found = read();
  if (auto* value = std::get_if<T>(&found)) *value = checked_reading(std::move(*value), *this);
  return found;
}

template <class T>
typename lazy_value_base<T>::result_t lazy_value_base<T>::present() {
  try {
    return checked();
  } catch (...) {
    return current_value_error();
  }
}

template <class T>
nx::json_document lazy_value_base<T>::event_of(const std::string& path,
                                               const result_t& what) const {
  if (const auto* error = std::get_if<nx_error>(&what))
    return create_error_event(std::string(path), *error);
  return value_changed_event(*this, path, std::get<T>(what));
}

template <class T>
void lazy_value_base<T>::get(const std::string& path, json_allocator& allocator,
                             json_value& result) {
  const auto found = checked();
  if (const auto* error = std::get_if<nx_error>(&found)) throw *error;
  add_member(result, path, to_json(std::get<T>(found), allocator), allocator);
}

template <class T>
void lazy_value_base<T>::subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                                   json_allocator& allocator, json_value& result,
                                   std::unique_lock<std::recursive_mutex>& lock) {
  const std::lock_guard value_lock(mutex_);
  nx_db_event_node::subscribe(session, path, allocator, result, lock);
  auto value = present();
  const auto* error = std::get_if<nx_error>(&value);
  add_member(result, path,
             error ? error_object(*error, allocator) : to_json(std::get<T>(value), allocator),
             allocator);
  if (error) {
    send_event_to_session_impl(create_error_event(std::string(path), *error), true,
                               std::move(session));
  } else {
    send_first_event(*this, std::get<T>(value), *session);
  }
  begin_watching(std::move(value));
}

template <class T>
nx_db_leaf_node::first_value lazy_value_base<T>::subscribe_text(
    const std::shared_ptr<nx_session>& session, nx_subscription_number number, first_text& first) {
  const std::lock_guard value_lock(mutex_);
  begin_text(session, number, first);
  auto value = present();
  const auto kind = append_first(first.json, value);
  begin_watching(std::move(value));
  return kind;
}

// The other subscribers have the previous value: they get the difference with the next refresh.
template <class T>
void lazy_value_base<T>::begin_watching(result_t value) {
  if (!told_) told_ = std::make_unique<result_t>(std::move(value));
  is_watched_ = true;
}

template <class T>
bool lazy_value_base<T>::is_news(const result_t& what) const {
  if (!told_ || told_->index() != what.index()) return true;
  if (is_same_ == nullptr || std::holds_alternative<nx_error>(what)) return *told_ != what;
  return !is_same_(std::get<T>(*told_), std::get<T>(what));
}

template <class T>
void lazy_value_base<T>::tell_subscribers() {
  const std::lock_guard lock(mutex_);
  if (!has_subscribers()) {
    is_watched_ = false;
    told_.reset();
    return;
  }
  auto value = present();
  if (!is_news(value)) return;
  send_event_impl(event_of(get_path(0), value), false);
  told_ = std::make_unique<result_t>(std::move(value));
}

template <class T>
std::string lazy_value_base<T>::get_info() const {
  return "lazy value (read,subscribe)";
}

template <class T>
nx::json_value lazy_value_base<T>::get_info(json_allocator& allocator) const {
  json_value record = nx_db_event_node::get_info(allocator);
  add_text(record, "type", "lazy value", allocator);
  add_text(record, "valueType", value_type_name<T>(), allocator);
  add_capabilities(record, {"read", "subscribe"}, allocator);
  return record;
}

template class lazy_value_base<bool>;
template class lazy_value_base<float>;
template class lazy_value_base<unsigned int>;
template class lazy_value_base<std::string>;
template class lazy_value_base<nx::json_document>;

}  // namespace nx::api
