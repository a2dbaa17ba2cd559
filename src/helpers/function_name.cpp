#include "helpers/function_name.h"

namespace helpers {

namespace {

/// Where the parameter list opens: the first parenthesis outside template arguments.
std::size_t parameter_list(std::string_view signature) {
  int depth = 0;
  for (std::size_t i = 0; i < signature.size(); ++i) {
    const char c = signature[i];
    if (c == '<') ++depth;
    if (c == '>') --depth;
    if (c == '(' && depth == 0) return i;
  }
  return signature.size();
}

/// Takes the template arguments off the end of "name<arguments>".
std::string_view without_arguments(std::string_view name) {
  if (name.empty() || name.back() != '>') return name;
  int depth = 0;
  for (std::size_t i = name.size(); i-- > 0;) {
    if (name[i] == '>') ++depth;
    if (name[i] == '<' && --depth == 0) return name.substr(0, i);
  }
  return name;
}

}  // namespace

std::string_view short_function_name(std::string_view signature) {
  const auto name = without_arguments(signature.substr(0, parameter_list(signature)));
  const auto separator = name.find_last_of(": &*");
  return separator == std::string_view::npos ? name : name.substr(separator + 1);
}

}  // namespace helpers
