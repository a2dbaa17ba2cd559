#include "platform/wire/plain_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace nx {
namespace {

constexpr std::uint64_t ones = 0x0101010101010101;

// Text that JSON neither escapes nor has to check. Eight bytes at once: the highest bit of each
// says whether it is below 0x20, above 0x7e, a backslash or a quote. A borrow may also flag the
// byte after such a one, but never a byte on its own.
bool is_plain_word(const char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof(word));
  const auto backslash = word ^ (ones * '\\');
  const auto quote = word ^ (ones * '"');
  const auto marked =
      (word - ones * 0x20) | (word + ones) | (backslash - ones) | (quote - ones) | word;
  return (marked & (ones * 0x80)) == 0;
}

bool is_plain_byte(char byte) {
  const auto c = static_cast<unsigned char>(byte);
  return c >= 0x20 && c <= 0x7e && c != '\\' && c != '"';
}

}  // namespace

bool is_plain(std::string_view text) {
  constexpr std::size_t step = sizeof(std::uint64_t);
  if (text.size() < step) return std::all_of(text.begin(), text.end(), is_plain_byte);
  const std::size_t last = text.size() - step;
  for (std::size_t at = 0; at < last; at += step) {
    if (!is_plain_word(text.data() + at)) return false;
  }
  return is_plain_word(text.data() + last);
}

bool take_plain_string(std::string_view& text, std::string_view& content) {
  const auto size = text.find('"');
  if (size == text.npos || !is_plain(text.substr(0, size))) return false;
  content = text.substr(0, size);
  text.remove_prefix(size + 1);
  return true;
}

}  // namespace nx
