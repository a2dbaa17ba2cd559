#include "platform/wire/plain_message.h"

#include <charconv>

#include "platform/wire/plain_text.h"

namespace nx {
namespace {

// "2026-01-31T12:00:00.123Z": the closing quote need not be looked for.
bool take_time(std::string_view& text, std::string_view& time) {
  constexpr std::size_t size = 24;
  if (text.size() <= size || text[size] != '"' || !is_plain(text.substr(0, size))) {
    return take_plain_string(text, time);
  }
  time = text.substr(0, size);
  text.remove_prefix(size + 1);
  return true;
}

bool take_id(std::string_view& text, std::uint64_t& id) {
  if (text.starts_with('0')) return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return true;
}

/// All that is left: the value, and the brackets around it.
bool take_last_value(std::string_view text, json_value& value) {
  constexpr std::string_view end = "}}";
  return text.ends_with(end) && read_plain_value(text.substr(0, text.size() - end.size()), value);
}

}  // namespace

std::optional<plain_event> read_plain_event(std::string_view text) {
  std::optional<plain_event> event(std::in_place);
  const bool plain = skip_text(text, R"({"jsonrpc":"2.0","method":"event","params":{"path":")") &&
                     take_plain_string(text, event->path) && skip_text(text, R"(,"time":")") &&
                     take_time(text, event->time) && skip_text(text, R"(,"value":)") &&
                     take_last_value(text, event->value);
  if (!plain) event.reset();
  return event;
}

std::optional<plain_result> read_plain_result(std::string_view text) {
  std::optional<plain_result> result(std::in_place);
  const bool plain = skip_text(text, R"({"jsonrpc":"2.0","id":)") && take_id(text, result->id) &&
                     skip_text(text, R"(,"result":{")") && take_plain_string(text, result->path) &&
                     skip_text(text, ":") && take_last_value(text, result->value);
  if (!plain) result.reset();
  return result;
}

}  // namespace nx
