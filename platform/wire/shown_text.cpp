#include "platform/wire/shown_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace nx {
namespace {

struct character {
  std::uint32_t code = 0;
  std::size_t bytes = 1;
  bool valid = false;
};

// The least code point of each length: an overlong form is not UTF-8.
constexpr std::array<std::uint32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
constexpr std::uint32_t first_surrogate = 0xd800;
constexpr std::uint32_t last_surrogate = 0xdfff;
constexpr std::uint32_t last_code = 0x10ffff;

std::size_t length_by(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xc0) return 0;
  if (first < 0xe0) return 2;
  if (first < 0xf0) return 3;
  return first < 0xf8 ? 4 : 0;
}

character first_of(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  const auto length = length_by(first);
  if (length == 1) return {first, 1, true};
  if (length == 0 || length > text.size()) return {first, 1, false};
  std::uint32_t code = first & (0x7fU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xc0U) != 0x80) return {first, 1, false};
    code = code << 6U | (next & 0x3fU);
  }
  const bool surrogate = code >= first_surrogate && code <= last_surrogate;
  if (code < least[length] || code > last_code || surrogate) return {first, 1, false};
  return {code, length, true};
}

bool misleads(std::uint32_t code) {
  struct range {
    std::uint32_t first;
    std::uint32_t last;
  };
  static constexpr range ranges[] = {
      {0x00, 0x1f},      // C0
      {0x7f, 0x9f},      // DEL and C1
      {0x61c, 0x61c},    // direction marks
      {0x200e, 0x200f},  // direction marks
      {0x2028, 0x202e},  // line separators, embeddings and overrides
      {0x2066, 0x2069},  // isolates
  };
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [code](const range& one) { return code >= one.first && code <= one.last; });
}

void append_escape(std::string& out, const character& what) {
  if (what.valid && what.code == '\n') {
    out += "\\n";
  } else if (what.valid && what.code == '\t') {
    out += "\\t";
  } else if (what.valid && what.code >= 0x80) {
    fmt::format_to(std::back_inserter(out), "\\u{:04x}", what.code);
  } else {
    fmt::format_to(std::back_inserter(out), "\\x{:02x}", what.code);
  }
}

}  // namespace

void append_shown_text(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const auto next = first_of(text);
    if (next.valid && !misleads(next.code)) {
      out += text.substr(0, next.bytes);
    } else {
      append_escape(out, next);
    }
    text.remove_prefix(next.bytes);
  }
}

std::string shown_text(std::string_view text) {
  std::string shown;
  shown.reserve(text.size());
  append_shown_text(shown, text);
  return shown;
}

}  // namespace nx
