#include "base/manager/channel_request.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <cmath>
#include <cstdlib>

#include "helpers/logger.h"
#include "platform/wire/nx_error.h"

namespace manager {

namespace {

const nx::json_value* find_member(const nx::json_value& document, const char* name) {
  if (!document.IsObject()) return nullptr;
  const auto member = document.FindMember(name);
  return member == document.MemberEnd() ? nullptr : &member->value;
}

std::optional<int> integer_member(const nx::json_value& document, const char* name) {
  const auto* member = find_member(document, name);
  if (member == nullptr || !member->IsInt()) return std::nullopt;
  return member->GetInt();
}

std::optional<std::string> string_member(const nx::json_value& document, const char* name) {
  const auto* member = find_member(document, name);
  if (member == nullptr || !member->IsString()) return std::nullopt;
  return std::string(member->GetString(), member->GetStringLength());
}

std::optional<request_directions> directions_of(const std::string& text) {
  if (text == "rx") return request_directions{.rx = true, .tx = false};
  if (text == "tx") return request_directions{.rx = false, .tx = true};
  if (text == "both") return request_directions{.rx = true, .tx = true};
  return std::nullopt;
}

}  // namespace

channel_request read_channel_request(const nx::json_document& document) {
  return {.center = integer_member(document, "center"),
          .width = integer_member(document, "width"),
          .port = integer_member(document, "port"),
          .direction = string_member(document, "direction")};
}

void check_add_structure(const channel_request& request) {
  if (request.center && request.width && request.port) return;
  LUMORA_LOG(2,
             "add_channel() json input error, center ok: {}, width ok: {}, direction ok: {}, port "
             "ok {}.",
             request.center.has_value(), request.width.has_value(), request.direction.has_value(),
             request.port.has_value());
  throw nx_error(nx_error::invalid,
                 "Invalid json structure. Expected center (unsigned, 8 digits, e.g. 19600000), "
                 "direction (string, rx/tx), port (unsigned, 1-34) and width (unsigned, 100 * "
                 "ghz).");
}

void check_add_limits(const channel_request& request) {
  constexpr long band_centre = 19000000;
  constexpr long farthest = 999999;
  if (std::labs(long{*request.center} - band_centre) > farthest) {
    throw nx_error(nx_error::invalid, "Invalid center, expected something around 19000000");
  }
  if (*request.port < 1 || *request.port > 34) {
    throw nx_error(nx_error::invalid, "Invalid port, expected 1-34");
  }
}

request_directions add_directions(const channel_request& request) {
  const auto text = request.direction.value_or("both");
  if (const auto directions = directions_of(text)) return *directions;
  throw nx_error(nx_error::invalid,
                 fmt::format("Invalid direction, expected rx or tx or 'both', got {}", text));
}

void check_remove_structure(const channel_request& request) {
  if (request.center && request.direction) return;
  LUMORA_LOG(2, "remove_channel() json input error, center ok: {}, direction ok: {}.",
             request.center.has_value(), request.direction.has_value());
  throw nx_error(nx_error::invalid,
                 "Invalid json structure. Expected center (unsigned, 8 digits, e.g. 19600000), "
                 "direction (string, rx/tx).");
}

void check_remove_limits(const channel_request& request) {
  const auto center = static_cast<unsigned>(*request.center);
  if (center < 19134375 || center > 19613125) {
    throw nx_error(nx_error::invalid,
                   "Invalid center, expected something within 19134375-19613125");
  }
}

request_directions remove_directions(const channel_request& request) {
  if (const auto directions = directions_of(*request.direction)) return *directions;
  throw nx_error(
      nx_error::invalid,
      fmt::format("Invalid direction, expected rx or tx or both, got {}", *request.direction));
}

std::string channel_index_text(const std::set<unsigned>& identifiers) {
  std::string text;
  for (const unsigned identifier : identifiers)
    text += fmt::format(",{}", identifier);
  return fmt::format("[{}]", text.empty() ? text : text.substr(1));
}

float band_utilization(float used_ghz, float slice_width_ghz, unsigned slice_count) {
  return std::round(used_ghz / slice_width_ghz / static_cast<float>(slice_count) * 1000.0f) / 10;
}

}  // namespace manager
