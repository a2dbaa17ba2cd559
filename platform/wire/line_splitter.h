// Splits a byte stream into the lines of the protocol, for server and client. Empty lines and a
// '\r' before the line end are dropped. A line beyond the limit is reported once, as soon as the
// limit is exceeded, and skipped up to its end without being stored.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace nx {

class line_splitter {
 public:
  explicit line_splitter(std::size_t limit) : limit_(limit) {}

  struct item {
    std::string_view text;  ///< valid until the next call
    bool too_long = false;
  };

  void append(std::string_view bytes);
  std::optional<item> next();

  /// Bytes waiting for `next` or for the rest of their line.
  std::size_t waiting() const { return buffer_.size() - start_; }

 private:
  void compact();
  std::optional<item> unfinished();

  std::size_t limit_;
  std::string buffer_;
  std::size_t start_ = 0;    // of the first line not returned yet
  std::size_t scanned_ = 0;  // no line end in [start_, scanned_)
  bool skipping_ = false;    // inside a line that was reported as too long
};

}  // namespace nx
