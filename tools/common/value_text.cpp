#include "tools/common/value_text.h"

#include <fmt/format.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/shown_text.h"
#include "tools/common/units.h"

namespace tools {

namespace {

/// Three decimals are as much as any instrument of the node resolves; trailing zeros are removed.
std::string rounded(const nx::json_value& number) {
  if (!number.IsDouble()) return nx::json_text(number);
  auto text = fmt::format("{:.3f}", number.GetDouble());
  text.erase(text.find_last_not_of('0') + 1);
  if (text.ends_with('.')) text.pop_back();
  return text == "-0" ? "0" : text;
}

}  // namespace

std::optional<nx_error> error_in(const nx::json_value& value) {
  if (!value.IsObject() || value.MemberCount() != 1) return std::nullopt;
  const auto* error = nx::member_of(value, "error");
  if (!error || !nx::json_rpc::is_error_value(*error)) return std::nullopt;
  return nx::json_rpc::error_from_value(*error);
}

std::string error_text(const nx_error& error) {
  return fmt::format("{} {}", error.code, nx::shown_text(error.message));
}

std::string value_text(const std::string& path, const nx::json_value& value, detail wanted) {
  if (const auto error = error_in(value)) return fmt::format("({})", error_text(*error));
  if (value.IsString()) return nx::shown_text({value.GetString(), value.GetStringLength()});
  const auto unit = unit_of(path);
  if (wanted == detail::bare || !value.IsNumber() || unit.empty()) {
    return nx::shown_text(nx::json_text(value));
  }
  return fmt::format("{} {}", rounded(value), unit);
}

std::string quoted(const std::string& text) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.String(text.c_str(), static_cast<rapidjson::SizeType>(text.size()));
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace tools
