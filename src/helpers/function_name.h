// The short name of a function from its full signature: std::source_location has only the
// signature, and a log channel shows the short name.
#pragma once

#include <string_view>

namespace helpers {

/// "void manager::base<T>::run(nx_db&) [with T = int]" gives "run", also for a lambda inside it.
std::string_view short_function_name(std::string_view signature);

}  // namespace helpers
