// The errors that nodes answer with or store.
#pragma once

#include "platform/wire/nx_error.h"

namespace nx::api {

/// Throws nx_error -2 "Object has been removed": the node has outlived its owner.
[[noreturn]] void throw_owner_gone();

/// Throws nx_error -61 "Value has not been set": the initial state of a measured value.
[[noreturn]] void throw_not_set();

/// The same, as the initial function of a value.
template <class T>
T not_set() {
  throw_not_set();
}

/// The current exception, as the error that a value stores. Call it inside a catch block.
nx_error current_value_error();

}  // namespace nx::api
