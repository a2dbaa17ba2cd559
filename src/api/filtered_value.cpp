#include "api/filtered_value.h"

#include <utility>

#include "api/checked_reading.h"
#include "api/json_support.h"

namespace nx::api {
namespace {

/// Marks a poll as finished on every way out.
class busy_mark {
 public:
  explicit busy_mark(std::atomic<bool>& busy) : busy_(busy) {}
  ~busy_mark() { busy_ = false; }
  busy_mark(const busy_mark&) = delete;
  busy_mark& operator=(const busy_mark&) = delete;

 private:
  std::atomic<bool>& busy_;
};

template <class T>
std::variant<T, nx_error> initial_result(const std::function<T()>& initial) {
  try {
    return initial();
  } catch (...) {
    return current_value_error();
  }
}

}  // namespace

template <class T>
filtered_value<T>::filtered_value(const std::string& name, const char* kind, hysteresis<T> filter,
                                  const std::function<T()>& initial)
    : nx_db_event_node(name),
      filtered_(initial_result<T>(initial)),
      kind_(kind),
      filter_(std::move(filter)) {}

template <class T>
filtered_value<T>::~filtered_value() = default;

template <class T>
void filtered_value<T>::periodic_task(bool pushed) {
  if (busy_.exchange(true)) return;
  const busy_mark mark(busy_);
  std::unique_lock lock(mutex_, std::defer_lock);
  take(next_result(lock), pushed);
}

template <class T>
void filtered_value<T>::take(result_t next, bool pushed) {
  if (const auto* error = std::get_if<nx_error>(&next)) {
    const auto* present = std::get_if<nx_error>(&filtered_);
    if (present && *present == *error) return;
    filtered_ = *error;
    send_error_event(*error);
    return;
  }
  auto& value = std::get<T>(next);
  if (const auto* old_value = std::get_if<T>(&filtered_)) {
    if (!filter_.accepts(*old_value, value, poll_interval != 0, pushed)) return;
  } else {
    filter_.reset_count();
  }
  filtered_ = std::move(value);
  publish(*this, std::get<T>(filtered_));
}

template <class T>
void filtered_value<T>::get(const std::string& path, json_allocator& allocator,
                            json_value& result) {
  const std::lock_guard lock(mutex_);
  if (const auto* error = std::get_if<nx_error>(&filtered_)) throw nx_error(*error);
  add_member(result, path, to_json(std::get<T>(filtered_), allocator), allocator);
}

template <class T>
void filtered_value<T>::_subscribe_assign_value(const std::string& path, json_allocator& allocator,
                                                json_value& result) const {
  if (const auto* error = std::get_if<nx_error>(&filtered_)) {
    add_member(result, path, error_object(*error, allocator), allocator);
  } else {
    add_member(result, path, to_json(std::get<T>(filtered_), allocator), allocator);
  }
}

template <class T>
void filtered_value<T>::subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                                  json_allocator& allocator, json_value& result,
                                  std::unique_lock<std::recursive_mutex>& lock) {
  const std::lock_guard value_lock(mutex_);
  nx_db_event_node::subscribe(session, path, allocator, result, lock);
  _subscribe_assign_value(path, allocator, result);
  const auto* error = std::get_if<nx_error>(&filtered_);
  if (!error) return send_first_event(*this, std::get<T>(filtered_), *session);
  send_event_to_session_impl(create_error_event(std::string(path), *error), true,
                             std::move(session));
}

template <class T>
nx_db_leaf_node::first_value filtered_value<T>::subscribe_text(
    const std::shared_ptr<nx_session>& session, nx_subscription_number number, first_text& first) {
  const std::lock_guard value_lock(mutex_);
  begin_text(session, number, first);
  return append_first(first.json, filtered_);
}

template <class T>
std::string filtered_value<T>::get_info() const {
  return std::string(kind_) + " volatile value (read, subscribe)";
}

template <class T>
nx::json_value filtered_value<T>::get_info(json_allocator& allocator) const {
  json_value record = nx_db_event_node::get_info(allocator);
  add_text(record, "type", std::string(kind_) + " volatile value", allocator);
  add_text(record, "valueType", value_type_name<T>(), allocator);
  add_capabilities(record, {"read", "subscribe"}, allocator);
  add_member(record, "hysteresis", filter_.get_info(poll_interval, allocator), allocator);
  return record;
}

template <class T>
bool filtered_value<T>::node_flag() const {
  return true;
}

template <class T>
polled_value_base<T>::polled_value_base(const std::string& name)
    : filtered_value<T>(name, "polled", hysteresis<T>::equal(), not_set<T>) {}

template <class T>
polled_value_base<T>::~polled_value_base() = default;

template <class T>
typename filtered_value<T>::result_t polled_value_base<T>::next_result(
    std::unique_lock<nx::ranked_recursive_mutex>& lock) {
  typename filtered_value<T>::result_t next = nx_error(nx_error::foreign, "Unknown error!");
  try {
    next = checked_reading(read_getter(), *this);
  } catch (const nx_error& error) {
    next = error;
  } catch (...) {
    // This includes a device's failure: clients learn that there is no reading, whatever the
    // reason.
  }
  lock.lock();
  return next;
}

template class filtered_value<bool>;
template class filtered_value<float>;
template class filtered_value<int>;
template class filtered_value<unsigned int>;
template class filtered_value<std::string>;
template class filtered_value<nx::json_document>;

template class polled_value_base<bool>;
template class polled_value_base<float>;
template class polled_value_base<int>;
template class polled_value_base<unsigned int>;
template class polled_value_base<std::string>;
template class polled_value_base<nx::json_document>;

}  // namespace nx::api
