#include "tools/lab/text_layout.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <sstream>

namespace tools::lab {

namespace {

bool begins_character(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

/// "vt100" and its kin, but not "vte", which is a program of today.
bool is_of_glass(std::string_view terminal) {
  return terminal.starts_with("vt") && terminal.size() > 2 &&
         std::isdigit(static_cast<unsigned char>(terminal[2])) != 0;
}

bool lacks_blocks(std::string_view terminal) {
  // The kernel's console loads fonts of 256 characters.
  constexpr std::array<std::string_view, 7> families{"linux", "ansi", "pcansi", "cons",
                                                     "sun",   "wy",   "unknown"};
  return is_of_glass(terminal) ||
         std::any_of(families.begin(), families.end(),
                     [&](std::string_view family) { return terminal.starts_with(family); });
}

/// "en_US.UTF-8", "C.utf8"
bool is_utf8(std::string_view locale) {
  std::string plain;
  for (const char letter : locale) {
    if (letter != '-') plain += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  return plain.find("utf8") != plain.npos;
}

std::string with(const char* code, const std::string& text, look how) {
  return how.colours ? code + text + "\x1b[0m" : text;
}

}  // namespace

look look_of(std::string_view terminal, std::string_view locale, bool wants_colours) {
  return {.colours = wants_colours && !is_of_glass(terminal),
          .unicode = is_utf8(locale) && !lacks_blocks(terminal)};
}

unsigned width_of(const std::string& text) {
  return static_cast<unsigned>(std::count_if(text.begin(), text.end(), begins_character));
}

std::string cut(const std::string& text, unsigned columns) {
  unsigned seen = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (begins_character(text[at]) && ++seen > columns) return text.substr(0, at);
  }
  return text;
}

std::string shortened(const std::string& text, unsigned columns, look how) {
  if (width_of(text) <= columns) return text;
  const std::string mark = how.unicode ? "…" : "..";
  const auto room = width_of(mark);
  return columns <= room ? cut(text, columns) : cut(text, columns - room) + mark;
}

std::vector<std::string> wrapped(const std::string& text, unsigned columns,
                                 const std::string& indent) {
  std::vector<std::string> lines;
  std::istringstream words(text);
  std::string line;
  for (std::string word; words >> word;) {
    const auto room = columns > width_of(line) ? columns - width_of(line) : 0;
    if (!line.empty() && line != indent && width_of(word) + 1 > room) {
      lines.push_back(cut(line, columns));
      line = indent;
    }
    if (!line.empty() && line != indent) line += ' ';
    line += word;
  }
  if (!line.empty()) lines.push_back(cut(line, columns));
  return lines;
}

std::string bold(const std::string& text, look how) {
  return with("\x1b[1m", text, how);
}

std::string faint(const std::string& text, look how) {
  return with("\x1b[2m", text, how);
}

std::string painted(const std::string& text, states::colour colour, look how) {
  // In the order of the enumeration: grey, green, blue (as cyan, which is readable on black),
  // yellow, red.
  constexpr std::array codes{"\x1b[2m", "\x1b[32m", "\x1b[36m", "\x1b[33m", "\x1b[31m"};
  return with(codes.at(static_cast<std::size_t>(colour)), text, how);
}

}  // namespace tools::lab
