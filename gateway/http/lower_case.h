// Names of headers, hosts and schemes count in either case: they are compared in lower case. ASCII
// only. Pure.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace gateway {

inline std::string lower_case(std::string_view text) {
  std::string out(text);
  std::ranges::transform(out, out.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return out;
}

}  // namespace gateway
