#include "tools/ctl/typed_value.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <string_view>

#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"
#include "tools/common/value_text.h"
#include "tools/ctl/exit_code.h"

namespace tools::ctl {

namespace {

std::optional<nx::json_document> parsed(const std::string& word) {
  try {
    return nx::parse_json(word);
  } catch (const nx_error&) {
    return std::nullopt;
  }
}

[[noreturn]] void refuse(const std::string& word, std::string_view accepted) {
  throw usage_error(
      fmt::format("\"{}\" is not a value for this path, which accepts {}", word, accepted));
}

bool is_negative_number(const std::string& word) {
  if (!word.starts_with('-')) return false;
  const auto value = parsed(word);
  return value && value->IsNumber();
}

std::string unshielded(const std::string& word) {
  return word.starts_with(' ') && is_negative_number(word.substr(1)) ? word.substr(1) : word;
}

std::string bool_value(const std::string& word) {
  constexpr std::array<std::string_view, 4> yes{"true", "on", "yes", "1"};
  constexpr std::array<std::string_view, 4> no{"false", "off", "no", "0"};
  if (std::find(yes.begin(), yes.end(), word) != yes.end()) return "true";
  if (std::find(no.begin(), no.end(), word) != no.end()) return "false";
  refuse(word, "true or false");
}

std::string number_value(const std::string& word, bool (nx::json_value::*fits)() const,
                         std::string_view accepted) {
  const auto value = parsed(word);
  if (!value || !((*value).*fits)()) refuse(word, accepted);
  return word;
}

std::string string_value(const std::string& word) {
  const auto value = word.starts_with('"') ? parsed(word) : std::nullopt;
  return value && value->IsString() ? word : quoted(word);
}

std::string json_value_text(const std::string& word) {
  const auto value = parsed(word);
  if (!value || !(value->IsObject() || value->IsArray())) refuse(word, "a JSON object or array");
  return word;
}

std::string free_value(const std::string& word) {
  return parsed(word) ? word : quoted(word);
}

bool is_assignment(const std::string& word) {
  const auto equals = word.find('=');
  if (equals == std::string::npos || equals == 0) return false;
  return std::all_of(word.begin(), word.begin() + static_cast<std::ptrdiff_t>(equals),
                     [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
}

std::string object_of(const std::vector<std::string>& words) {
  std::string members;
  for (const auto& word : words) {
    const auto equals = word.find('=');
    members += fmt::format("{}{}:{}", members.empty() ? "" : ",", quoted(word.substr(0, equals)),
                           free_value(word.substr(equals + 1)));
  }
  return "{" + members + "}";
}

}  // namespace

std::string typed_value(const std::string& shielded_word, const std::string& value_type) {
  const auto word = unshielded(shielded_word);
  if (value_type == "bool") return bool_value(word);
  if (value_type == "float") return number_value(word, &nx::json_value::IsNumber, "a number");
  if (value_type == "int") return number_value(word, &nx::json_value::IsInt, "a whole number");
  if (value_type == "unsigned int") {
    return number_value(word, &nx::json_value::IsUint, "a whole number, 0 or more");
  }
  if (value_type == "string") return string_value(word);
  if (value_type == "json") return json_value_text(word);
  return free_value(word);
}

std::string command_arguments(const std::vector<std::string>& words) {
  if (words.empty()) return "{}";
  if (std::all_of(words.begin(), words.end(), is_assignment)) return object_of(words);
  if (words.size() == 1) return free_value(unshielded(words.front()));
  throw usage_error("a command takes one JSON value, or words of the form key=value");
}

std::vector<std::string> shielded(std::vector<std::string> words) {
  for (auto& word : words) {
    if (is_negative_number(word)) word.insert(0, 1, ' ');
  }
  return words;
}

}  // namespace tools::ctl
