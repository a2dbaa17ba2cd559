#include "gateway/http/target.h"

#include <algorithm>

#include "gateway/http/lower_case.h"

namespace gateway {

namespace {

int digit_of(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool is_control(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code < 0x20 || code == 0x7f;
}

/// In a query '+' means a blank.
std::optional<std::string> decoded(std::string_view text, bool in_query) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    char c = text[at];
    if (c == '%') {
      const int high = at + 1 < text.size() ? digit_of(text[at + 1]) : -1;
      const int low = at + 2 < text.size() ? digit_of(text[at + 2]) : -1;
      if (high < 0 || low < 0) return std::nullopt;
      c = static_cast<char>(high * 16 + low);
      at += 2;
    } else if (c == '+' && in_query) {
      c = ' ';
    }
    if (is_control(c)) return std::nullopt;
    out += c;
  }
  return out;
}

bool add_pair(std::string_view pair, std::multimap<std::string, std::string>& query) {
  const auto equals = std::min(pair.find('='), pair.size());
  const auto name = decoded(pair.substr(0, equals), true);
  const auto value =
      decoded(equals < pair.size() ? pair.substr(equals + 1) : std::string_view(), true);
  if (!name || !value) return false;
  query.emplace(*name, *value);
  return true;
}

/// Takes scheme and host off the front, if they are there.
std::string take_host(std::string_view& text) {
  constexpr std::string_view end_of_scheme = "://";
  const auto scheme = text.substr(0, text.find(end_of_scheme));
  if (lower_case(scheme) != "http" && lower_case(scheme) != "https") return {};
  if (scheme.size() == text.size()) return {};
  text.remove_prefix(scheme.size() + end_of_scheme.size());
  auto host = lower_case(text.substr(0, text.find_first_of("/?")));
  text.remove_prefix(host.size());
  return host;
}

}  // namespace

std::optional<target> parse_target(std::string_view text) {
  text = text.substr(0, text.find('#'));
  target parsed{take_host(text), "/", {}};
  const auto question = std::min(text.find('?'), text.size());
  if (question > 0 || parsed.host.empty()) {
    auto path = decoded(text.substr(0, question), false);
    if (!path || !path->starts_with('/')) return std::nullopt;
    parsed.path = std::move(*path);
  }
  auto rest = question < text.size() ? text.substr(question + 1) : std::string_view();
  while (!rest.empty()) {
    const auto end = std::min(rest.find('&'), rest.size());
    if (end > 0 && !add_pair(rest.substr(0, end), parsed.query)) return std::nullopt;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return parsed;
}

}  // namespace gateway
