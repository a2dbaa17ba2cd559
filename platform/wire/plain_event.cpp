#include "platform/wire/plain_event.h"

#include "platform/wire/plain_text.h"
#include "platform/wire/plain_value.h"

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

}  // namespace

std::optional<plain_event> read_plain_event(std::string_view text) {
  constexpr std::string_view end = "}}";
  std::optional<plain_event> event(std::in_place);
  const bool plain = skip_text(text, R"({"jsonrpc":"2.0","method":"event","params":{"path":")") &&
                     take_plain_string(text, event->path) && skip_text(text, R"(,"time":")") &&
                     take_time(text, event->time) && skip_text(text, R"(,"value":)") &&
                     text.ends_with(end) &&
                     read_plain_value(text.substr(0, text.size() - end.size()), event->value);
  if (!plain) event.reset();
  return event;
}

}  // namespace nx
