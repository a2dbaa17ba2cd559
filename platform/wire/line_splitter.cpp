#include "platform/wire/line_splitter.h"

namespace nx {
namespace {

// One long line must not keep its memory for the rest of the session.
constexpr std::size_t kept_capacity = 64 * 1024;

std::string_view without_cr(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

}  // namespace

void line_splitter::append(std::string_view bytes) {
  compact();
  if (skipping_) {
    const auto end = bytes.find('\n');
    if (end == bytes.npos) return;
    skipping_ = false;
    bytes.remove_prefix(end + 1);
  }
  buffer_.append(bytes);
}

std::optional<line_splitter::item> line_splitter::next() {
  for (;;) {
    const auto end = buffer_.find('\n', scanned_);
    if (end == buffer_.npos) return unfinished();
    const auto line = without_cr(std::string_view(buffer_).substr(start_, end - start_));
    start_ = scanned_ = end + 1;
    if (line.size() > limit_) return item{{}, true};
    if (!line.empty()) return item{line};
  }
}

std::optional<line_splitter::item> line_splitter::unfinished() {
  scanned_ = buffer_.size();
  if (without_cr(std::string_view(buffer_).substr(start_)).size() <= limit_) return std::nullopt;
  skipping_ = true;
  start_ = buffer_.size();
  return item{{}, true};
}

void line_splitter::compact() {
  if (start_ == 0) return;
  if (start_ == buffer_.size()) {
    buffer_.clear();
    if (buffer_.capacity() > kept_capacity) buffer_.shrink_to_fit();
  } else {
    buffer_.erase(0, start_);
  }
  scanned_ -= start_;
  start_ = 0;
}

}  // namespace nx
