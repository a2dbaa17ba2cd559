#include "tools/lab/screen_cells.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace tools::lab {

namespace {

constexpr const char* plain = "\x1b[0m";
constexpr const char* rest_of_line = "\x1b[K";
// Moving the cursor takes as many bytes as this number of cells.
constexpr std::size_t worth_a_move = 8;

struct cell {
  std::string text = " ";
  std::string colour;  ///< the sequence that sets it; empty for none, and for a blank

  bool operator==(const cell&) const = default;
};

using cells = std::vector<cell>;

std::size_t length_of_character(const std::string& line, std::size_t at) {
  auto end = at + 1;
  while (end < line.size() && (static_cast<unsigned char>(line[end]) & 0xC0U) == 0x80U)
    ++end;
  return end - at;
}

/// Without the blanks at the end.
cells cells_of(const std::string& line) {
  cells all;
  std::string colour;
  for (std::size_t at = 0; at < line.size();) {
    if (line[at] == '\x1b') {
      const auto end = std::min(line.find('m', at), line.size() - 1) + 1;
      colour = line.substr(at, end - at);
      if (colour == plain) colour.clear();
      at = end;
      continue;
    }
    const auto length = length_of_character(line, at);
    const auto text = line.substr(at, length);
    all.push_back({text, text == " " ? "" : colour});
    at += length;
  }
  while (!all.empty() && all.back() == cell{})
    all.pop_back();
  return all;
}

std::string move_to(unsigned row, std::size_t column) {
  return fmt::format("\x1b[{};{}H", row, column + 1);
}

std::string painted(cells::const_iterator first, cells::const_iterator end) {
  std::string text;
  std::string colour;
  for (; first != end; ++first) {
    if (first->text != " " && first->colour != colour) {
      if (!colour.empty()) text += plain;
      text += first->colour;
      colour = first->colour;
    }
    text += first->text;
  }
  return colour.empty() ? text : text + plain;
}

}  // namespace

std::string changed_cells(const std::string& before, const std::string& now, unsigned row) {
  const auto old = cells_of(before);
  const auto fresh = cells_of(now);
  const auto differs = [&](std::size_t at) {
    return fresh[at] != (at < old.size() ? old[at] : cell{});
  };
  std::string sent;
  for (std::size_t at = 0; at < fresh.size(); ++at) {
    if (!differs(at)) continue;
    auto end = at + 1;
    for (auto next = end; next < fresh.size() && next - end < worth_a_move; ++next) {
      if (differs(next)) end = next + 1;
    }
    const auto from = fresh.begin();
    sent += move_to(row, at) + painted(from + static_cast<std::ptrdiff_t>(at),
                                       from + static_cast<std::ptrdiff_t>(end));
    at = end - 1;
  }
  if (fresh.size() < old.size()) sent += move_to(row, fresh.size()) + rest_of_line;
  return sent;
}

}  // namespace tools::lab
