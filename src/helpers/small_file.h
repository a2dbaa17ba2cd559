// Reading of the board's own small text files, which a fault may have turned into anything: a pipe
// that nobody writes, a device, an image of a gigabyte. Any thread.
#pragma once

#include <cstddef>
#include <string>

namespace helpers {

/// The text of a regular file of at most `most_bytes`; empty if there is no such file or it cannot
/// be opened. Never waits. Throws nx_error -22 with what it is instead.
std::string read_small_file(const std::string& path, std::size_t most_bytes);

}  // namespace helpers
