#include <fmt/format.h>

#include <cctype>

#include "tools/insight/finding_rules.h"

namespace tools::insight {

namespace {

std::string span_text(long seconds) {
  if (seconds < 120) return fmt::format("{} s", seconds);
  return seconds < 7200 ? fmt::format("{} min", seconds / 60) : fmt::format("{} h", seconds / 3600);
}

std::string since_text(const std::string& since, const node_insight& node) {
  constexpr std::size_t date = 11;
  constexpr std::size_t clock = 8;
  if (since.size() < date + clock) return "";
  const auto began = seconds_of(since);
  const auto ago = node.now && began ? fmt::format(", {}", span_text(*node.now - *began)) : "";
  return fmt::format(" (since {} UTC{})", since.substr(date, clock), ago);
}

}  // namespace

std::string capital(std::string text) {
  if (!text.empty()) text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
  return text;
}

std::string full_sentence(const finding& what, const node_insight& node) {
  auto text = capital(what.sentence);
  while (text.ends_with('.'))
    text.pop_back();
  const auto colon = text.find(": ");
  text.insert(colon == text.npos ? text.size() : colon, since_text(what.since, node));
  return text + ".";
}

}  // namespace tools::insight
