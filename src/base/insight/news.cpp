#include "base/insight/news.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace insight {

namespace {

/// Up to this age a reading counts as fresh.
constexpr float fresh_s = 5.0f;
constexpr float times_as_old = 2.0f;
/// For texts rounded to a tenth, and for sums of floats.
constexpr float rounding = 0.01f;

bool is_digit(char letter) {
  return std::isdigit(static_cast<unsigned char>(letter)) != 0;
}

/// "+0.12", "17", at the beginning of `text`; empty if there is no number.
std::string_view number_at(std::string_view text) {
  const std::size_t sign = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
  std::size_t end = sign;
  while (end < text.size() && (is_digit(text[end]) || (text[end] == '.' && end > sign)))
    ++end;
  return end == sign ? std::string_view() : text.substr(0, end);
}

bool is_unit(std::string_view text, std::string_view unit) {
  return text.starts_with(unit) &&
         (text.size() == unit.size() ||
          std::isalpha(static_cast<unsigned char>(text[unit.size()])) == 0);
}

bool numbers_look_alike(std::string_view told, std::string_view now, std::string_view behind) {
  if (told == now) return true;
  const float before = std::strtof(std::string(told).c_str(), nullptr);
  const float after = std::strtof(std::string(now).c_str(), nullptr);
  if (is_unit(behind, " dB") || is_unit(behind, " dBm")) return looks_alike(before, after);
  return is_unit(behind, " s") && looks_as_old(before, after);
}

bool texts_look_alike(std::string_view told, std::string_view now) {
  while (!told.empty() && !now.empty()) {
    const auto before = number_at(told);
    const auto after = number_at(now);
    if (before.empty() != after.empty()) return false;
    if (before.empty() && told[0] != now[0]) return false;
    told.remove_prefix(std::max<std::size_t>(before.size(), 1));
    now.remove_prefix(std::max<std::size_t>(after.size(), 1));
    if (!before.empty() && !numbers_look_alike(before, after, now)) return false;
  }
  return told.empty() && now.empty();
}

bool json_looks_alike(const nx::json_value& told, const nx::json_value& now);

bool members_look_alike(const nx::json_value& told, const nx::json_value& now) {
  return told.MemberCount() == now.MemberCount() &&
         std::all_of(told.MemberBegin(), told.MemberEnd(), [&now](const auto& member) {
           const auto other = now.FindMember(member.name);
           const std::string_view name(member.name.GetString(), member.name.GetStringLength());
           return other != now.MemberEnd() &&
                  (name == "seconds" || json_looks_alike(member.value, other->value));
         });
}

bool json_looks_alike(const nx::json_value& told, const nx::json_value& now) {
  if (told.IsObject() && now.IsObject()) return members_look_alike(told, now);
  if (told.IsArray() && now.IsArray()) {
    return std::equal(told.Begin(), told.End(), now.Begin(), now.End(), json_looks_alike);
  }
  if (told.IsDouble() && now.IsNumber()) return looks_alike(told.GetFloat(), now.GetFloat());
  if (told.IsString() && now.IsString()) {
    return texts_look_alike({told.GetString(), told.GetStringLength()},
                            {now.GetString(), now.GetStringLength()});
  }
  return told == now;
}

}  // namespace

bool looks_alike(float told, float now) {
  if (std::isfinite(told) != std::isfinite(now)) return false;
  return !std::isfinite(told) || std::fabs(told - now) < noticed_db - rounding;
}

bool looks_as_old(float told, float now) {
  if (std::isfinite(told) != std::isfinite(now)) return false;
  const float one = std::max(told, fresh_s);
  const float other = std::max(now, fresh_s);
  return !std::isfinite(told) || (other < one * times_as_old && one < other * times_as_old);
}

bool looks_alike(const std::string& told, const std::string& now) {
  return texts_look_alike(told, now);
}

bool looks_alike(const nx::json_document& told, const nx::json_document& now) {
  return json_looks_alike(told, now);
}

bool looks_alike(const channel_verdict& told, const channel_verdict& now) {
  using figure = float channel_verdict::*;
  constexpr figure levels[] = {&channel_verdict::target,       &channel_verdict::measured,
                               &channel_verdict::error,        &channel_verdict::dead_band,
                               &channel_verdict::attenuation,  &channel_verdict::headroom_up,
                               &channel_verdict::headroom_down};
  return told.reason == now.reason && told.lit == now.lit && told.step == now.step &&
         told.is_settled == now.is_settled && told.failure == now.failure &&
         looks_as_old(told.age, now.age) && std::ranges::all_of(levels, [&](figure each) {
           return looks_alike(told.*each, now.*each);
         });
}

}  // namespace insight
