#include "base/manager/channel_request.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <cmath>
#include <optional>

#include "base/channel/arithmetic.h"
#include "helpers/logger.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"

namespace manager {

namespace {

std::optional<int> integer_member(const nx::json_value& document, const char* name) {
  const auto* member = nx::member_of(document, name);
  if (member == nullptr || !member->IsInt()) return std::nullopt;
  return member->GetInt();
}

std::optional<std::string> string_member(const nx::json_value& document, const char* name) {
  const auto* member = nx::member_of(document, name);
  if (member == nullptr || !member->IsString()) return std::nullopt;
  return std::string(member->GetString(), member->GetStringLength());
}

/// `expected` begins the refusal of any other text.
channel_directions directions_of(const std::string& text, const char* expected) {
  if (text == "rx") return {.rx = true, .tx = false};
  if (text == "tx") return {.rx = false, .tx = true};
  if (text == "both") return {.rx = true, .tx = true};
  throw nx_error(nx_error::invalid,
                 fmt::format("Invalid direction, expected {}, got {}", expected, text));
}

void check_add_limits(int center, int port) {
  if (center < int{channel::lowest_center} || center > int{channel::highest_center}) {
    throw nx_error(nx_error::invalid, "Invalid center, expected something around 19000000");
  }
  if (port < 1 || port > int{channel::highest_port})
    throw nx_error(nx_error::invalid, "Invalid port, expected 1-34");
}

}  // namespace

add_request read_add_request(const nx::json_document& document) {
  const auto center = integer_member(document, "center");
  const auto width = integer_member(document, "width");
  const auto port = integer_member(document, "port");
  const auto direction = string_member(document, "direction");
  if (!center || !width || !port) {
    LUMORA_LOG(2,
               "add_channel() json input error, center ok: {}, width ok: {}, direction ok: {}, "
               "port ok {}.",
               center.has_value(), width.has_value(), direction.has_value(), port.has_value());
    throw nx_error(nx_error::invalid,
                   "Invalid json structure. Expected center (unsigned, 8 digits, e.g. 19600000), "
                   "direction (string, rx/tx), port (unsigned, 1-34) and width (unsigned, 100 * "
                   "ghz).");
  }
  check_add_limits(*center, *port);
  return {.center = static_cast<unsigned>(*center),
          .width = static_cast<unsigned>(*width),
          .port = static_cast<unsigned>(*port),
          .directions = directions_of(direction.value_or("both"), "rx or tx or 'both'")};
}

remove_request read_remove_request(const nx::json_document& document) {
  const auto center = integer_member(document, "center");
  const auto direction = string_member(document, "direction");
  if (!center || !direction) {
    LUMORA_LOG(2, "remove_channel() json input error, center ok: {}, direction ok: {}.",
               center.has_value(), direction.has_value());
    throw nx_error(nx_error::invalid,
                   "Invalid json structure. Expected center (unsigned, 8 digits, e.g. 19600000), "
                   "direction (string, rx/tx).");
  }
  const auto wanted = static_cast<unsigned>(*center);
  if (wanted < 19134375 || wanted > 19613125) {
    throw nx_error(nx_error::invalid,
                   "Invalid center, expected something within 19134375-19613125");
  }
  return {.center = wanted, .directions = directions_of(*direction, "rx or tx or both")};
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
