// The owner's pushes as the source of a hysteresis_filtered_value. T: float, std::string.
#pragma once

#include <functional>
#include <string>

#include "api/filtered_value.h"

namespace nx::api {

template <class T>
class pushed_volatile_value_impl : public filtered_value<T> {
 public:
  pushed_volatile_value_impl(const std::string& name, const std::function<T()>& initial,
                             hysteresis<T> filter);
  ~pushed_volatile_value_impl() override;

  /// Any thread. Events for subscribers are sent before it returns. Throws nx_error -61 for a float
  /// that is not finite; then nothing changes.
  void update(const T& value);
  /// What clients read. Throws the error that the value stores.
  T get_filtered() const;

 protected:
  typename filtered_value<T>::result_t next_result(
      std::unique_lock<nx::ranked_recursive_mutex>& lock) override;

 private:
  typename filtered_value<T>::result_t value_;  // the newest push
};

}  // namespace nx::api
