// The node of a measured value, in the two forms that the system has:
//   hysteresis_filtered_value<polled_volatile_value_impl<&Owner::getter>>  polled, each difference
//   hysteresis_filtered_value<pushed_volatile_value_impl<T>>               pushed, filtered
// A new value holds the error -61 "Value has not been set" until its first good result.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "api/async_volatile_value.h"
#include "api/attach.h"
#include "api/filtered_value.h"
#include "api/pushed_volatile_value_impl.h"

namespace nx::api {

/// A getter as the source.
template <auto Getter>
using polled_volatile_value_impl =
    async_volatile_value<polled_value_base<typename member_traits<decltype(Getter)>::result_type>,
                         Getter>;

template <class Impl>
class hysteresis_filtered_value;

template <class T, auto Getter>
class hysteresis_filtered_value<async_volatile_value<polled_value_base<T>, Getter>> final
    : public async_volatile_value<polled_value_base<T>, Getter> {
  using impl = async_volatile_value<polled_value_base<T>, Getter>;

 public:
  using impl::impl;

  /// `bound` are the getter's arguments.
  template <class... Bound>
  static std::shared_ptr<hysteresis_filtered_value> create(
      nx_db& db, const std::string& path, const std::shared_ptr<typename impl::owner_type>& owner,
      Bound... bound) {
    return create_node<hysteresis_filtered_value>(db, path, owner,
                                                  typename impl::bound_type{std::move(bound)...});
  }
};

template <class T>
class hysteresis_filtered_value<pushed_volatile_value_impl<T>> final
    : public pushed_volatile_value_impl<T> {
 public:
  using pushed_volatile_value_impl<T>::pushed_volatile_value_impl;

  /// A push that differs by more than `immediate_limit` is published at once; one by more than
  /// `delayed_limit` also, if the value is in no group, otherwise after ten polls; a smaller one
  /// not at all. T: float.
  static std::shared_ptr<hysteresis_filtered_value> create(nx_db& db, const std::string& path,
                                                           double immediate_limit,
                                                           double delayed_limit) {
    return create_node<hysteresis_filtered_value>(
        db, path, not_set<T>,
        hysteresis<T>::limits(static_cast<T>(immediate_limit), static_cast<T>(delayed_limit)));
  }

  /// Every difference is published.
  static std::shared_ptr<hysteresis_filtered_value> create(nx_db& db, const std::string& path) {
    return create_node<hysteresis_filtered_value>(db, path, not_set<T>, hysteresis<T>::equal());
  }
};

template <auto Getter>
using polled_value = hysteresis_filtered_value<polled_volatile_value_impl<Getter>>;

template <class T>
using pushed_value = hysteresis_filtered_value<pushed_volatile_value_impl<T>>;

}  // namespace nx::api
