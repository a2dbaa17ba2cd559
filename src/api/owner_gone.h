// The answer of a node that has outlived its owner.
#pragma once

namespace nx::api {

/// Throws nx_error -2 "Object has been removed".
[[noreturn]] void throw_owner_gone();

}  // namespace nx::api
