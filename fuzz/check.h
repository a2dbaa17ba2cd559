// How a fuzz target reports a broken promise: the fuzzer keeps the input.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

/// Ends the program, as a sanitizer would, unless the promise is kept.
inline void check(bool kept, const char* promise, const std::string& shown = {}) {
  if (kept) return;
  std::fprintf(stderr, "Broken promise: %s\n%s\n", promise, shown.c_str());
  std::abort();
}

}  // namespace fuzz
