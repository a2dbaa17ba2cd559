#include "tools/lab/keys.h"

#include <array>
#include <string_view>

namespace tools::lab {

namespace {

struct key_row {
  std::string_view bytes;
  key what;
};

// If one key begins like another, the longer one comes first.
constexpr std::array rows{
    key_row{"\x1b[5~", key::page_up},
    key_row{"\x1b[6~", key::page_down},
    key_row{"\x1b[1~", key::home},
    key_row{"\x1b[7~", key::home},
    key_row{"\x1b[4~", key::end},
    key_row{"\x1b[8~", key::end},
    key_row{"\x1b[H", key::home},
    key_row{"\x1bOH", key::home},
    key_row{"\x1b[F", key::end},
    key_row{"\x1bOF", key::end},
    key_row{"\x1b[A", key::up},
    key_row{"\x1bOA", key::up},
    key_row{"\x1b[B", key::down},
    key_row{"\x1bOB", key::down},
    key_row{"k", key::up},
    key_row{"j", key::down},
    key_row{"b", key::page_up},
    key_row{" ", key::page_down},
    key_row{"g", key::home},
    key_row{"G", key::end},
    key_row{"q", key::quit},
    key_row{"Q", key::quit},
    key_row{"\x03", key::quit},
    key_row{"\t", key::next_node},
    key_row{"n", key::next_node},
    key_row{"c", key::channels},
    key_row{"l", key::ladder},
    key_row{"d", key::devices},
    key_row{"p", key::panel},
    key_row{"e", key::events},
};

/// Number of bytes of a key that is not one of ours.
std::size_t unknown_length(const std::string& typed) {
  if (typed.size() < 2 || typed[0] != '\x1b' || (typed[1] != '[' && typed[1] != 'O')) return 1;
  std::size_t at = 2;
  while (at < typed.size() && (typed[at] < '@' || typed[at] > '~'))
    ++at;
  return at < typed.size() ? at + 1 : at;
}

}  // namespace

key take_key(std::string& typed) {
  for (const auto& row : rows) {
    if (!typed.starts_with(row.bytes)) continue;
    typed.erase(0, row.bytes.size());
    return row.what;
  }
  typed.erase(0, unknown_length(typed));
  return key::unknown;
}

}  // namespace tools::lab
