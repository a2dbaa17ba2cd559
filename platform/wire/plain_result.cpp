#include "platform/wire/plain_result.h"

#include <charconv>

#include "platform/wire/plain_text.h"
#include "platform/wire/plain_value.h"

namespace nx {
namespace {

bool take_id(std::string_view& text, std::uint64_t& id) {
  if (text.starts_with('0')) return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

}  // namespace

std::optional<plain_result> read_plain_result(std::string_view text) {
  constexpr std::string_view end = "}}";
  std::optional<plain_result> result(std::in_place);
  const bool plain = skip_text(text, R"({"jsonrpc":"2.0","id":)") && take_id(text, result->id) &&
                     skip_text(text, R"(,"result":{")") && take_plain_string(text, result->path) &&
                     skip_text(text, ":") && text.ends_with(end) &&
                     read_plain_value(text.substr(0, text.size() - end.size()), result->value);
  if (!plain) result.reset();
  return result;
}

}  // namespace nx
