#include "platform/wire/json_rpc.h"

#include <rapidjson/document.h>

#include <array>
#include <charconv>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_text.h"

namespace nx::json_rpc {
namespace {

constexpr std::string_view head = R"({"jsonrpc":"2.0",)";

void append_id(std::string& out, std::string_view id) {
  out += head;
  out += R"("id":)";
  out += id;
}

}  // namespace

void append_request(std::string& out, std::uint64_t id, std::string_view method,
                    std::string_view params_text) {
  std::array<char, 20> digits;
  const auto* end = std::to_chars(digits.data(), digits.data() + digits.size(), id).ptr;
  append_id(out, {digits.data(), static_cast<std::size_t>(end - digits.data())});
  out += R"(,"method":)";
  append_json_string(out, method);
  out += R"(,"params":)";
  out += params_text;
  out += '}';
}

std::string request(std::uint64_t id, std::string_view method, std::string_view params_text) {
  std::string line;
  line.reserve(64 + params_text.size());
  append_request(line, id, method, params_text);
  return line;
}

void begin_result(std::string& out, std::string_view id) {
  append_id(out, id);
  out += R"(,"result":)";
}

void append_result(std::string& out, std::string_view id, const json_value& result) {
  begin_result(out, id);
  append_json_text(out, result);
  out += '}';
}

void append_error(std::string& out, std::string_view id, const nx_error& error) {
  append_id(out, id);
  out += R"(,"error":)";
  append_error_object(out, error);
  out += '}';
}

std::string error_without_id(const nx_error& error) {
  std::string line;
  append_error(line, "null", error);
  return line;
}

std::string notification(std::string_view method, const json_value& params) {
  std::string line(head);
  line += R"("method":)";
  append_json_string(line, method);
  line += R"(,"params":)";
  append_json_text(line, params);
  line += '}';
  return line;
}

void append_error_object(std::string& out, const nx_error& error) {
  out += R"({"code":)";
  out += std::to_string(error.code);
  out += R"(,"message":)";
  append_json_string(out, error.message);
  out += '}';
}

json_value error_value(const nx_error& error, json_allocator& allocator) {
  json_value object(rapidjson::kObjectType);
  object.AddMember("code", error.code, allocator);
  object.AddMember("message", to_json(error.message, allocator), allocator);
  return object;
}

bool is_error_value(const json_value& value) {
  if (!value.IsObject() || value.MemberCount() != 2) return false;
  const auto* code = member_of(value, "code");
  const auto* message = member_of(value, "message");
  return code && code->IsInt() && message && message->IsString();
}

json_value value_in_error(json_value error, json_allocator& allocator) {
  json_value object(rapidjson::kObjectType);
  object.AddMember("error", error, allocator);
  return object;
}

nx_error error_from_value(const json_value& error) {
  nx_error found(nx_error::foreign, "Unknown error!");
  if (const auto* code = member_of(error, "code"); code && code->IsInt()) {
    found.code = code->GetInt();
  }
  if (const auto* message = member_of(error, "message"); message && message->IsString()) {
    found.message = text_member(error, "message");
  }
  return found;
}

}  // namespace nx::json_rpc
