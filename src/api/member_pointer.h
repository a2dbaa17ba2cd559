// What a node class needs to know about the member function it is bound to: the owner's class, the
// value's type, and further arguments that the node stores and passes at each call.
#pragma once

#include <string>
#include <tuple>
#include <type_traits>

#include "platform/wire/json.h"

namespace nx::api {

/// The types that clients can write; any other parameter of a setter is a bound argument.
template <class T>
inline constexpr bool is_settable =
    std::is_same_v<T, bool> || std::is_same_v<T, float> || std::is_same_v<T, std::string> ||
    std::is_same_v<T, json_document>;

template <class Owner, class Result, class... Arguments>
struct member_signature {
  using owner_type = Owner;
  using result_type = std::remove_cvref_t<Result>;
  using arguments = std::tuple<std::decay_t<Arguments>...>;
};

template <class Pointer>
struct member_traits;
template <class R, class O, class... A>
struct member_traits<R (O::*)(A...)> : member_signature<O, R, A...> {};
template <class R, class O, class... A>
struct member_traits<R (O::*)(A...) const> : member_signature<O, R, A...> {};
template <class R, class O, class... A>
struct member_traits<R (O::*)(A...) noexcept> : member_signature<O, R, A...> {};
template <class R, class O, class... A>
struct member_traits<R (O::*)(A...) const noexcept> : member_signature<O, R, A...> {};

/// Splits a setter's parameters into the value and the bound ones. The value comes first or last.
template <class Arguments>
struct setter_arguments;

template <class Value>
struct setter_arguments<std::tuple<Value>> {
  using value_type = Value;
  using bound = std::tuple<>;
  static constexpr bool value_first = true;
};

template <class First, class Second>
struct setter_arguments<std::tuple<First, Second>> {
  static constexpr bool value_first = is_settable<First>;
  static_assert(is_settable<First> != is_settable<Second>,
                "one parameter of the setter is the value, the other is bound");
  using value_type = std::conditional_t<value_first, First, Second>;
  using bound = std::tuple<std::conditional_t<value_first, Second, First>>;
};

}  // namespace nx::api
