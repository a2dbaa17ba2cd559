#include "api/pushed_volatile_value_impl.h"

#include <utility>

#include "helpers/finite.h"

namespace nx::api {

template <class T>
pushed_volatile_value_impl<T>::pushed_volatile_value_impl(const std::string& name,
                                                          const std::function<T()>& initial,
                                                          hysteresis<T> filter)
    : filtered_value<T>(name, "pushed", std::move(filter), initial), value_(this->filtered_) {}

template <class T>
pushed_volatile_value_impl<T>::~pushed_volatile_value_impl() = default;

template <class T>
void pushed_volatile_value_impl<T>::update(const T& value) {
  {
    const std::lock_guard lock(this->mutex_);
    helpers::require_finite(value);
    value_ = value;
  }
  this->periodic_task(true);
}

template <class T>
T pushed_volatile_value_impl<T>::get_filtered() const {
  const std::lock_guard lock(this->mutex_);
  if (const auto* error = std::get_if<nx_error>(&this->filtered_)) throw nx_error(*error);
  return std::get<T>(this->filtered_);
}

template <class T>
typename filtered_value<T>::result_t pushed_volatile_value_impl<T>::next_result(
    std::unique_lock<nx::ranked_recursive_mutex>& lock) {
  lock.lock();
  return value_;
}

template class pushed_volatile_value_impl<float>;
template class pushed_volatile_value_impl<std::string>;

}  // namespace nx::api
