// Units of the values on the trees, for people: the trees carry bare numbers, and what they count
// follows from the path.
#pragma once

#include <string>
#include <string_view>

namespace tools {

/// "dBm", "dB", "GHz" and so on; empty where the value has no unit or none is known.
std::string_view unit_of(std::string_view path);

/// True when the last segments of `path` fit `ending`, in which '*' stands for one segment.
bool ends_like(std::string_view path, std::string_view ending);

}  // namespace tools
