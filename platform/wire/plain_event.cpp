#include "platform/wire/plain_event.h"

#include "platform/wire/plain_text.h"
#include "platform/wire/plain_value.h"

namespace nx {

std::optional<plain_event> read_plain_event(std::string_view text) {
  constexpr std::string_view end = "}}";
  std::optional<plain_event> event(std::in_place);
  const bool plain = skip_text(text, R"({"jsonrpc":"2.0","method":"event","params":{"path":")") &&
                     take_plain_string(text, event->path) && skip_text(text, R"(,"time":")") &&
                     take_plain_string(text, event->time) && skip_text(text, R"(,"value":)") &&
                     text.ends_with(end) &&
                     read_plain_value(text.substr(0, text.size() - end.size()), event->value);
  if (!plain) event.reset();
  return event;
}

}  // namespace nx
