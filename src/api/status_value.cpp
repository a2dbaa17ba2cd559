#include "api/status_value.h"

#include "api/attach.h"
#include "api/json_support.h"
#include "helpers/finite.h"

namespace nx::api {

template <class T, class Compare>
status_value<T, Compare>::status_value(const std::string& name, T initial,
                                       std::uint32_t delay_cycles)
    : nx_db_event_node(name), value_(initial), last_sent_(initial), delay_cycles_(delay_cycles) {
  helpers::require_finite(value_);
}

template <class T, class Compare>
status_value<T, Compare>::~status_value() = default;

template <class T, class Compare>
std::shared_ptr<status_value<T, Compare>> status_value<T, Compare>::create(
    nx_db& db, const std::string& path, T initial, std::uint32_t delay_cycles) {
  return create_node<status_value>(db, path, std::move(initial), delay_cycles);
}

template <class T, class Compare>
void status_value<T, Compare>::send() {
  publish(*this, value_);
  last_sent_ = value_;
}

template <class T, class Compare>
T status_value<T, Compare>::update(const T& value) {
  helpers::require_finite(value);
  const std::lock_guard lock(mutex_);
  const Compare equal;
  if (equal(value, value_)) return value_;
  if (equal(value_, last_sent_)) cycle_count_ = 0;
  value_ = value;
  if (db && !equal(value_, last_sent_)) send();
  return value_;
}

template <class T, class Compare>
T status_value<T, Compare>::get_last_sent() const {
  const std::lock_guard lock(mutex_);
  return last_sent_;
}

template <class T, class Compare>
void status_value<T, Compare>::periodic_task(bool) {
  if (!db) return;
  const std::lock_guard lock(mutex_);
  if (Compare()(value_, last_sent_)) return;
  if (cycle_count_++ >= delay_cycles_) send();
}

template <class T, class Compare>
void status_value<T, Compare>::get(const std::string& path, json_allocator& allocator,
                                   json_value& result) {
  const std::lock_guard lock(mutex_);
  add_member(result, path, to_json(last_sent_, allocator), allocator);
}

template <class T, class Compare>
bool status_value<T, Compare>::append_text(std::string& out) const {
  const std::lock_guard lock(mutex_);
  append_json(out, last_sent_);
  return true;
}

template <class T, class Compare>
void status_value<T, Compare>::subscribe(std::shared_ptr<nx_session> session,
                                         const std::string& path, json_allocator& allocator,
                                         json_value& result,
                                         std::unique_lock<std::recursive_mutex>& lock) {
  const std::lock_guard value_lock(mutex_);
  nx_db_event_node::subscribe(session, path, allocator, result, lock);
  add_member(result, path, to_json(last_sent_, allocator), allocator);
  send_first_event(*this, last_sent_, *session);
}

template <class T, class Compare>
nx_db_leaf_node::first_value status_value<T, Compare>::subscribe_text(
    const std::shared_ptr<nx_session>& session, nx_subscription_number number, first_text& first) {
  const std::lock_guard value_lock(mutex_);
  begin_text(session, number, first);
  append_json(first.json, last_sent_);
  return first_value::value;
}

template <class T, class Compare>
std::string status_value<T, Compare>::get_info() const {
  return "status value (read,subscribe)";
}

template <class T, class Compare>
nx::json_value status_value<T, Compare>::get_info(json_allocator& allocator) const {
  json_value record = nx_db_event_node::get_info(allocator);
  add_text(record, "type", "status value", allocator);
  add_text(record, "valueType", value_type_name<T>(), allocator);
  add_capabilities(record, {"read", "subscribe"}, allocator);
  json_value filter(rapidjson::kObjectType);
  add_text(filter, "lessFunction", value_type_name<Compare>(), allocator);
  add_member(filter, "delayCycles", json_value(delay_cycles_), allocator);
  add_member(filter, "pollInterval", json_value(std::uint32_t{poll_interval}), allocator);
  add_member(record, "hysteresis", std::move(filter), allocator);
  return record;
}

template class status_value<bool>;
template class status_value<float>;
template class status_value<std::string>;
template class status_value<unsigned int>;

}  // namespace nx::api
