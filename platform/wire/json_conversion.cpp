#include "platform/wire/json_conversion.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <cmath>
#include <limits>

#include "platform/wire/json_text.h"
#include "platform/wire/limits.h"
#include "platform/wire/nx_error.h"

namespace nx {
namespace {

[[noreturn]] void refuse(const char* expected, const json_value& value) {
  throw json_value_conversion_error{expected, json_type_name(value)};
}

// Rounds as the hardware does, but is defined beyond a float's range too: nodes refuse infinity
// with a text of their own. The largest float's own text exceeds it by less than half a step.
float narrowed(double number) {
  using float_limits = std::numeric_limits<float>;
  constexpr double first_infinite = 0x1.ffffffp127;
  if (std::abs(number) <= double{float_limits::max()}) return static_cast<float>(number);
  const bool infinite = std::abs(number) >= first_infinite;
  return std::copysign(infinite ? float_limits::infinity() : float_limits::max(),
                       number < 0 ? -1.0F : 1.0F);
}

void check_string(std::size_t bytes) {
  if (bytes <= limits::string_bytes) return;
  throw nx_error(nx_error::invalid,
                 fmt::format("String value longer than {} bytes", limits::string_bytes));
}

bool is_container(const json_value& value) {
  return value.IsObject() || value.IsArray();
}

}  // namespace

const char* json_type_name(const json_value& value) {
  if (value.IsNull()) return "null";
  if (value.IsBool()) return "bool";
  if (value.IsObject()) return "object";
  if (value.IsArray()) return "array";
  if (value.IsString()) return "string";
  if (value.IsUint()) return "32-bit unsigned integer";
  if (value.IsInt()) return "32-bit signed integer";
  if (value.IsUint64()) return "64-bit unsigned integer";
  if (value.IsInt64()) return "64-bit signed integer";
  if (value.IsFloat()) return "float";
  if (value.IsDouble()) return "double";
  return "unknown";
}

void check_strings(const json_value& value) {
  if (value.IsString()) check_string(value.GetStringLength());
  if (value.IsArray()) {
    for (const auto& element : value.GetArray())
      check_strings(element);
  }
  if (value.IsObject()) {
    for (const auto& member : value.GetObject()) {
      check_strings(member.name);
      check_strings(member.value);
    }
  }
}

template <>
bool from_json<bool>(const json_value& value) {
  if (!value.IsBool()) refuse("bool", value);
  return value.GetBool();
}

template <>
float from_json<float>(const json_value& value) {
  if (!value.IsLosslessDouble()) refuse("float", value);
  return narrowed(value.GetDouble());
}

template <>
int from_json<int>(const json_value& value) {
  if (!value.IsInt()) refuse("int", value);
  return value.GetInt();
}

template <>
unsigned int from_json<unsigned int>(const json_value& value) {
  if (!value.IsUint()) refuse("unsigned int", value);
  return value.GetUint();
}

template <>
std::string from_json<std::string>(const json_value& value) {
  std::string text =
      value.IsString() ? std::string(value.GetString(), value.GetStringLength()) : json_text(value);
  check_string(text.size());
  return text;
}

template <>
json_document from_json<json_document>(const json_value& value) {
  if (is_container(value)) {
    json_document copy;
    copy.CopyFrom(value, copy.GetAllocator());
    return copy;
  }
  if (!value.IsString()) refuse("object or array", value);
  try {
    json_document parsed = parse_json(value.GetString(), value.GetStringLength());
    if (is_container(parsed)) return parsed;
  } catch (const nx_error&) {
    // Not JSON at all: refused in the same way.
  }
  refuse("stringified object or array", value);
}

template <>
json_value to_json<bool>(const bool& value, json_allocator&) {
  return json_value(value);
}

template <>
json_value to_json<float>(const float& value, json_allocator&) {
  return json_value(double{value});
}

template <>
json_value to_json<int>(const int& value, json_allocator&) {
  return json_value(value);
}

template <>
json_value to_json<unsigned int>(const unsigned int& value, json_allocator&) {
  return json_value(value);
}

template <>
json_value to_json<std::string>(const std::string& value, json_allocator& allocator) {
  return json_value(value.data(), static_cast<rapidjson::SizeType>(value.size()), allocator);
}

template <>
json_value to_json<json_document>(const json_document& value, json_allocator& allocator) {
  return json_value(value, allocator);
}

template <>
void append_json<bool>(std::string& out, const bool& value) {
  out += value ? "true" : "false";
}

template <>
void append_json<float>(std::string& out, const float& value) {
  append_json_number(out, value);
}

template <>
void append_json<int>(std::string& out, const int& value) {
  append_json_number(out, value);
}

template <>
void append_json<unsigned int>(std::string& out, const unsigned int& value) {
  append_json_number(out, value);
}

template <>
void append_json<std::string>(std::string& out, const std::string& value) {
  append_json_string(out, value);
}

template <>
void append_json<json_document>(std::string& out, const json_document& value) {
  append_json_text(out, value);
}

const json_value* member_of(const json_value& object, const char* name) {
  if (!object.IsObject()) return nullptr;
  const auto found = object.FindMember(name);
  return found == object.MemberEnd() ? nullptr : &found->value;
}

std::string text_member(const json_value& object, const char* name) {
  const auto* member = member_of(object, name);
  if (!member || !member->IsString()) return {};
  return {member->GetString(), member->GetStringLength()};
}

}  // namespace nx
