// A minimal client of the tree protocol: sends lines, and parses every line it receives, those of a
// number as the client library does, others in place.
#pragma once

#include <string>
#include <string_view>

#include "bench/socket_pair.h"
#include "platform/wire/line_splitter.h"

namespace bench {

class tree_connection {
 public:
  explicit tree_connection(const std::string& path) : socket_(connect_to(path)) {}

  void send(const std::string& text) const { socket_.send(text.data(), text.size()); }
  /// Reads and parses this many lines. Throws std::runtime_error if one lacks `member`.
  void read(unsigned lines, const char* member);

 private:
  static void parse(std::string_view line, const char* member);

  socket socket_;
  nx::line_splitter lines_{std::size_t{8} * 1024 * 1024};
};

}  // namespace bench
