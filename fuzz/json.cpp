// Any text as JSON, and any JSON as any type of value: what is accepted comes back the same.
#include <rapidjson/document.h>

#include <cmath>
#include <cstdint>

#include "fuzz/check.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"

namespace {

using fuzz::check;

template <class T>
bool is_same(const T& one, const T& other) {
  return one == other;
}

// Minus zero loses its sign on the first way.
std::string settled_text(const nx::json_value& value) {
  return nx::json_text(nx::parse_json(nx::json_text(value)));
}

bool is_same(const nx::json_document& one, const nx::json_document& other) {
  return settled_text(one) == settled_text(other);
}

/// A number beyond a float's range reads as infinite, and nodes refuse it before it is written.
template <class T>
bool can_be_written(const T& value) {
  if constexpr (std::is_same_v<T, float>) return std::isfinite(value);
  return true;
}

template <class T>
void convert(const nx::json_value& value) {
  try {
    const T accepted = nx::from_json<T>(value);
    if (!can_be_written(accepted)) return;
    nx::json_document out;
    out = nx::parse_json(nx::json_text(nx::to_json(accepted, out.GetAllocator())));
    check(is_same(nx::from_json<T>(out), accepted), "a value survives the wire",
          nx::json_text(value));
  } catch (const json_value_conversion_error& refusal) {
    check(*refusal.expected != 0 && *refusal.found != 0, "a refusal names both types");
  }
}

void convert_to_all(const nx::json_value& value) {
  convert<bool>(value);
  convert<int>(value);
  convert<unsigned>(value);
  convert<float>(value);
  convert<std::string>(value);
  convert<nx::json_document>(value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) try {
  const auto document = nx::parse_json(reinterpret_cast<const char*>(data), size);
  const auto text = settled_text(document);
  check(nx::json_text(nx::parse_json(text)) == text, "a text that was written reads the same",
        text);
  check(text.find('\n') == std::string::npos, "a text is one line", text);
  convert_to_all(document);
  if (document.IsArray()) {
    for (const auto& element : document.GetArray())
      convert_to_all(element);
  }
  nx::json_rpc::error_from_value(document);
  return 0;
} catch (const nx_error& error) {
  check(error.code == nx::json_rpc::parse_error, "only a parse error is raised", error.message);
  return 0;
}
