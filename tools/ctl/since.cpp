#include "tools/ctl/since.h"

#include <fmt/format.h>
#include <time.h>

#include <charconv>
#include <optional>
#include <string_view>

#include "tools/ctl/exit_code.h"

namespace tools::ctl {

namespace {

constexpr long day = 86'400;

std::optional<long> before_now(const std::string& word, long now) {
  long count = 0;
  const char* end = word.data() + word.size();
  const auto [rest, error] = std::from_chars(word.data(), end, count);
  if (error != std::errc{} || count < 0 || end - rest != 1) return std::nullopt;
  switch (*rest) {
    case 's':
      return now - count;
    case 'm':
      return now - count * 60;
    case 'h':
      return now - count * 3600;
    case 'd':
      return now - count * day;
    default:
      return std::nullopt;
  }
}

std::optional<long> parsed(const std::string& word, const char* form, long now) {
  tm parts{};
  const bool has_date = std::string_view(form).starts_with("%Y");
  if (!has_date) {
    const time_t today = now;
    gmtime_r(&today, &parts);
    parts.tm_sec = 0;
  }
  const char* end = strptime(word.c_str(), form, &parts);
  if (end == nullptr || !(*end == '\0' || std::string_view(end) == "Z")) return std::nullopt;
  const long moment = timegm(&parts);
  return !has_date && moment > now ? moment - day : moment;
}

}  // namespace

long moment_of(const std::string& word, long now) {
  if (const auto moment = before_now(word, now)) return *moment;
  for (const char* form :
       {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d", "%H:%M:%S", "%H:%M"}) {
    if (const auto moment = parsed(word, form, now)) return *moment;
  }
  throw usage_error(
      fmt::format("\"{}\" is not a time: 10m, 2h, 12:30 or 2026-01-31T12:30 (UTC)", word));
}

}  // namespace tools::ctl
