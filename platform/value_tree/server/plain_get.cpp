#include "platform/value_tree/server/plain_get.h"

#include <algorithm>
#include <charconv>

#include "platform/value_tree/path_pattern.h"
#include "platform/wire/limits.h"

namespace nx {
namespace {

bool skip(std::string_view& text, std::string_view expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(expected.size());
  return true;
}

// As a number is written back: so that the answer carries the id as it came.
bool read_id(std::string_view& text, std::uint64_t& id) {
  constexpr std::size_t most_digits = 18;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), id);
  const auto digits = static_cast<std::size_t>(end - text.data());
  if (failed != std::errc() || digits > most_digits) return false;
  if (text.front() == '0' && digits > 1) return false;
  text.remove_prefix(digits);
  return true;
}

// Text that JSON neither escapes nor has to check.
bool is_plain(char c) {
  return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
}

bool read_path(std::string_view& text, std::string_view& path) {
  const auto size = text.find('"');
  if (size == text.npos) return false;
  path = text.substr(0, size);
  if (!std::all_of(path.begin(), path.end(), is_plain) || is_path_pattern(path)) return false;
  text.remove_prefix(size);
  return true;
}

bool read_one(std::string_view& text, plain_get& get) {
  return skip(text, R"({"jsonrpc":"2.0","id":)") && read_id(text, get.id) &&
         skip(text, R"(,"method":"get","params":{"path":")") && read_path(text, get.path) &&
         skip(text, R"("}})");
}

}  // namespace

std::optional<plain_get> read_plain_get(std::string_view text) {
  plain_get get;
  if (!read_one(text, get) || !text.empty()) return std::nullopt;
  return get;
}

bool read_plain_gets(std::string_view text, std::vector<plain_get>& gets) {
  if (!skip(text, "[")) return false;
  do {
    if (gets.size() == limits::batch || !read_one(text, gets.emplace_back())) return false;
  } while (skip(text, ","));
  return text == "]";
}

}  // namespace nx
