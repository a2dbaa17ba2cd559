#include "api/hysteresis.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "api/json_support.h"

namespace nx::api {
namespace {

template <class T>
int differs(const T& old_value, const T& new_value, const T&, const T&) {
  return old_value == new_value ? -1 : 1;
}

template <class T>
int beyond_limits(const T& old_value, const T& new_value, const T& immediate_limit,
                  const T& delayed_limit) {
  const T difference = std::max(old_value, new_value) - std::min(old_value, new_value);
  if (immediate_limit < difference) return 1;
  return difference <= delayed_limit ? -1 : 0;
}

/// As a stream prints it ("0.1", "1").
template <class T>
void add_limit(json_value& record, const char* name, const T& limit, json_allocator& allocator) {
  std::ostringstream text;
  if constexpr (!std::is_same_v<T, json_document>) text << limit;
  add_text(record, name, text.str(), allocator);
}

}  // namespace

template <class T>
hysteresis<T>::hysteresis(kind filter_kind, filter_t filter, T immediate_limit, T delayed_limit)
    : kind_(filter_kind),
      immediate_limit_(std::move(immediate_limit)),
      delayed_limit_(std::move(delayed_limit)),
      filter_(std::move(filter)) {}

template <class T>
hysteresis<T> hysteresis<T>::equal() {
  return {kind::equal, differs<T>, T{}, T{}};
}

template <class T>
hysteresis<T> hysteresis<T>::limits(T immediate_limit,
                                    T delayed_limit) requires std::is_arithmetic_v<T> {
  // For some compilers an explicit instantiation of the class also instantiates this, whatever T
  // is.
  if constexpr (std::is_arithmetic_v<T>) {
    return {kind::limits, beyond_limits<T>, immediate_limit, delayed_limit};
  }
  std::abort();
}

template <class T>
hysteresis<T> hysteresis<T>::custom(filter_t filter) {
  return {kind::custom, std::move(filter), T{}, T{}};
}

template <class T>
hysteresis<T> hysteresis<T>::custom(filter_t filter, T immediate_limit, T delayed_limit) {
  return {kind::custom_with_limits, std::move(filter), std::move(immediate_limit),
          std::move(delayed_limit)};
}

template <class T>
bool hysteresis<T>::accepts(const T& old_value, const T& new_value, bool polled, bool pushed) {
  const int size = filter_(old_value, new_value, immediate_limit_, delayed_limit_);
  if (size < 0) {
    cycle_count_ = 0;
    return false;
  }
  if (size == 0 && polled && cycle_count_ < delay_cycles_) {
    if (!pushed) ++cycle_count_;
    return false;
  }
  // The count stays: a value that keeps moving within the small band is still accepted each time.
  return true;
}

template <class T>
nx::json_value hysteresis<T>::get_info(std::uint32_t poll_interval,
                                       json_allocator& allocator) const {
  json_value record(rapidjson::kObjectType);
  const bool custom = kind_ == kind::custom_with_limits || kind_ == kind::custom;
  add_text(record, "function",
           custom                  ? "custom"
           : kind_ == kind::limits ? "default"
                                   : "equal",
           allocator);
  if (kind_ == kind::custom_with_limits || kind_ == kind::limits) {
    add_limit(record, "ImmediateLimit", immediate_limit_, allocator);
    add_limit(record, "delayedLimit", delayed_limit_, allocator);
  }
  if (kind_ == kind::limits) {
    add_member(record, "delayCycles", json_value(delay_cycles_), allocator);
  }
  if (poll_interval != 0) {
    add_member(record, "pollInterval", json_value(poll_interval), allocator);
  }
  return record;
}

template class hysteresis<bool>;
template class hysteresis<float>;
template class hysteresis<int>;
template class hysteresis<unsigned int>;
template class hysteresis<std::string>;
template class hysteresis<nx::json_document>;

}  // namespace nx::api
