// Units of the values on the trees, for people: the trees carry bare numbers, and the unit
// follows from the path.
#pragma once

#include <string>
#include <string_view>

namespace tools {

/// "dBm", "dB", "GHz" and so on; empty if the value has no unit or none is known.
std::string_view unit_of(std::string_view path);

/// Whether the last segments of `path` match `ending`. A "*" stands for one segment; "*power" in
/// the last one also matches compounds such as "rxPower".
bool ends_like(std::string_view path, std::string_view ending);

}  // namespace tools
