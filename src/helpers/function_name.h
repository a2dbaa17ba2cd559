// The short name of a function out of its full signature: std::source_location knows the signature
// alone, and a log channel shows the short name.
#pragma once

#include <string_view>

namespace helpers {

/// "void manager::base<T>::run(nx_db&) [with T = int]" gives "run", and so does a lambda in it.
std::string_view short_function_name(std::string_view signature);

}  // namespace helpers
