#include "platform/wire/plain_text.h"

#include <cstddef>

namespace nx {
namespace {

// Text that JSON neither escapes nor has to check.
bool is_plain(char c) {
  return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
}

}  // namespace

bool skip_text(std::string_view& text, std::string_view expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(expected.size());
  return true;
}

bool take_plain_string(std::string_view& text, std::string_view& content) {
  std::size_t size = 0;
  while (size < text.size() && is_plain(text[size]))
    ++size;
  if (size == text.size() || text[size] != '"') return false;
  content = text.substr(0, size);
  text.remove_prefix(size + 1);
  return true;
}

}  // namespace nx
