#include "platform/wire/plain_event.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "platform/wire/plain_text.h"

namespace nx {
namespace {

bool skip_digits(std::string_view& text) {
  const auto size = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(size);
  return size > 0;
}

// As JSON has it, without an exponent.
bool is_plain_number(std::string_view text) {
  skip_text(text, "-");
  const bool leading_zero = text.starts_with('0') && text.size() > 1 && text[1] != '.';
  if (leading_zero || !skip_digits(text)) return false;
  if (skip_text(text, ".") && !skip_digits(text)) return false;
  return text.empty();
}

template <class Number>
bool reads_as(std::string_view text, json_value& value) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (stop != end || error != std::errc()) return false;
  value = json_value(number);
  return true;
}

bool read_value(std::string_view text, json_value& value) {
  if (text == "true" || text == "false") {
    value.SetBool(text == "true");
    return true;
  }
  if (!is_plain_number(text)) return false;
  const bool whole = text.find('.') == text.npos;
  return whole ? reads_as<std::int64_t>(text, value) : reads_as<double>(text, value);
}

}  // namespace

std::optional<plain_event> read_plain_event(std::string_view text) {
  constexpr std::string_view end = "}}";
  std::optional<plain_event> event(std::in_place);
  const bool plain = skip_text(text, R"({"jsonrpc":"2.0","method":"event","params":{"path":")") &&
                     take_plain_string(text, event->path) && skip_text(text, R"(,"time":")") &&
                     take_plain_string(text, event->time) && skip_text(text, R"(,"value":)") &&
                     text.ends_with(end) &&
                     read_value(text.substr(0, text.size() - end.size()), event->value);
  if (!plain) event.reset();
  return event;
}

}  // namespace nx
