// The patterns that one client has subscribed to, each once. Checking whether one of them covers a
// path takes a few steps per segment, however many there are, since a client may send thousands. No
// lock of its own.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace nx {

class pattern_set {
 public:
  void add(const std::string& pattern);
  void remove(const std::string& pattern);
  void clear() { *this = {}; }

  bool contains(const std::string& pattern) const;
  bool covers(std::string_view path) const;
  std::size_t size() const { return sorted_.size(); }
  std::size_t bytes() const { return bytes_; }  ///< of their texts

 private:
  using place = std::vector<std::string>::const_iterator;
  bool covers(place from, std::string& begun, std::string_view rest) const;
  bool has_from(place& from, std::string_view begun) const;

  std::vector<std::string> sorted_;
  std::size_t bytes_ = 0;
};

}  // namespace nx
