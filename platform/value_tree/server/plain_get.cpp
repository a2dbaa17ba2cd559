#include "platform/value_tree/server/plain_get.h"

#include <algorithm>

#include "platform/value_tree/path_pattern.h"
#include "platform/wire/limits.h"
#include "platform/wire/plain_text.h"

namespace nx {
namespace {

// In the form in which a number is written, so that the answer carries the id as it was sent.
bool take_id(std::string_view& text, std::string_view& id) {
  constexpr std::size_t most_digits = 18;
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  const auto* end = std::find_if_not(text.begin(), text.end(), is_digit);
  id = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  if (id.empty() || id.size() > most_digits) return false;
  if (id.front() == '0' && id.size() > 1) return false;
  text.remove_prefix(id.size());
  return true;
}

bool read_one(std::string_view& text, plain_get& get) {
  return skip_text(text, R"({"jsonrpc":"2.0","id":)") && take_id(text, get.id) &&
         skip_text(text, R"(,"method":"get","params":{"path":")") &&
         take_plain_string(text, get.path) && !is_path_pattern(get.path) && skip_text(text, "}}");
}

}  // namespace

std::optional<plain_get> read_plain_get(std::string_view text) {
  plain_get get;
  if (!read_one(text, get) || !text.empty()) return std::nullopt;
  return get;
}

bool read_plain_gets(std::string_view text, std::vector<plain_get>& gets) {
  if (!skip_text(text, "[")) return false;
  do {
    if (gets.size() == limits::batch || !read_one(text, gets.emplace_back())) return false;
  } while (skip_text(text, ","));
  return text == "]";
}

}  // namespace nx
