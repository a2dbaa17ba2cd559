#include "platform/wire/plain_text.h"

namespace nx {
namespace {

// Text that JSON neither escapes nor has to check, quotes aside. Looks at every byte without a
// branch, so that compilers make it a few bytes at a time: most of a client's work is here.
bool is_plain(std::string_view text) {
  unsigned char odd = 0;
  for (const unsigned char c : text)
    odd |= static_cast<unsigned char>(c < 0x20) | static_cast<unsigned char>(c > 0x7e) |
           static_cast<unsigned char>(c == '\\');
  return odd == 0;
}

}  // namespace

bool take_plain_string(std::string_view& text, std::string_view& content) {
  const auto size = text.find('"');
  if (size == text.npos || !is_plain(text.substr(0, size))) return false;
  content = text.substr(0, size);
  text.remove_prefix(size + 1);
  return true;
}

}  // namespace nx
