// Reads the board's small text files. A fault may have turned them into anything: a pipe that
// nobody writes to, a device, an image of a gigabyte. Any thread.
#pragma once

#include <cstddef>
#include <string>

namespace helpers {

/// The text of a regular file of at most `most_bytes`; empty if there is no such file or it cannot
/// be opened. Never blocks. Throws nx_error -22, saying what it found instead.
std::string read_small_file(const std::string& path, std::size_t most_bytes);

}  // namespace helpers
