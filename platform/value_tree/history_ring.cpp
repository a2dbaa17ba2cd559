#include "platform/value_tree/history_ring.h"

#include <cstring>

namespace nx {
namespace {

struct header {
  std::int64_t time_ms;
  std::uint32_t size;
};
constexpr std::size_t header_bytes = sizeof(header::time_ms) + sizeof(header::size);

header read_header(const char* from) {
  header found{};
  std::memcpy(&found.time_ms, from, sizeof(found.time_ms));
  std::memcpy(&found.size, from + sizeof(found.time_ms), sizeof(found.size));
  return found;
}

void append_header(std::string& to, const header& written) {
  char bytes[header_bytes];
  std::memcpy(bytes, &written.time_ms, sizeof(written.time_ms));
  std::memcpy(bytes + sizeof(written.time_ms), &written.size, sizeof(written.size));
  to.append(bytes, header_bytes);
}

}  // namespace

void history_ring::append(std::chrono::system_clock::time_point time, std::string_view value,
                          std::size_t depth) {
  const auto added = header_bytes + value.size();
  std::size_t dropped = 0;
  while (count_ > 0 && (count_ >= depth || packed_.size() - dropped + added > max_bytes)) {
    dropped += header_bytes + read_header(packed_.data() + dropped).size;
    --count_;
  }
  packed_.erase(0, dropped);
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
  append_header(packed_, {ms.count(), static_cast<std::uint32_t>(value.size())});
  packed_.append(value);
  ++count_;
}

std::vector<history_ring::entry> history_ring::entries() const {
  std::vector<entry> found;
  found.reserve(count_);
  for (std::size_t at = 0; at < packed_.size();) {
    const header next = read_header(packed_.data() + at);
    found.push_back({std::chrono::system_clock::time_point(std::chrono::milliseconds(next.time_ms)),
                     packed_.substr(at + header_bytes, next.size)});
    at += header_bytes + next.size;
  }
  return found;
}

}  // namespace nx
