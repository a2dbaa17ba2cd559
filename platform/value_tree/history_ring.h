// The newest values of one path, packed into one block of memory, so that a tree of thousands of
// nodes, each with its history, stays within a few MiB.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace nx {

class history_ring {
 public:
  struct entry {
    std::chrono::system_clock::time_point time;  // to the millisecond
    std::string value;
  };

  /// Keeps at most `depth` entries, and at most `max_bytes` of them besides the newest one.
  void append(std::chrono::system_clock::time_point time, std::string_view value,
              std::size_t depth);
  std::vector<entry> entries() const;

  static constexpr std::size_t max_bytes = 64 * 1024;

 private:
  std::string packed_;  // time in ms, size, text; oldest first
  std::uint32_t count_ = 0;
};

}  // namespace nx
