#include "tools/ctl/parameter_file.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <string_view>

#include "platform/wire/json.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_error.h"
#include "tools/common/units.h"
#include "tools/common/value_text.h"
#include "tools/ctl/exit_code.h"

namespace tools::ctl {

namespace {

constexpr std::string_view format_name = "lumora parameters 1";

nx::json_document document_of(const std::string& text) {
  try {
    return nx::parse_json(text);
  } catch (const nx_error& error) {
    throw usage_error("this is not a file of parameters: " + error.message);
  }
}

bool is_text(const nx::json_value& object, const char* name, std::string_view wanted = {}) {
  const auto* member = nx::member_of(object, name);
  return member && member->IsString() && (wanted.empty() || wanted == member->GetString());
}

int turn_of(const std::string& path, const std::string& value) {
  const bool ends_regulation = value == "\"bright\"" || value == "\"dark\"";
  if (path == "config/automationMode") return ends_regulation ? 0 : 3;
  return ends_like(path, "opticalControlMode") ? 2 : 1;
}

}  // namespace

std::string file_text(parameter_file what) {
  std::sort(what.parameters.begin(), what.parameters.end());
  std::string lines;
  for (const auto& [path, value] : what.parameters)
    lines += fmt::format("{}\n    {}: {}", lines.empty() ? "" : ",", quoted(path), value);
  return fmt::format(
      "{{\n  \"format\": \"{}\",\n  \"product\": {},\n  \"parameters\": {{{}\n  }}\n}}\n",
      format_name, quoted(what.product), lines);
}

parameter_file parsed_file(const std::string& text) {
  const auto document = document_of(text);
  if (!is_text(document, "format", format_name)) {
    throw usage_error(
        fmt::format("this is not a file of parameters: \"format\" is not \"{}\"", format_name));
  }
  const auto* parameters = nx::member_of(document, "parameters");
  if (!is_text(document, "product") || !parameters || !parameters->IsObject()) {
    throw usage_error("the file lacks \"product\" or \"parameters\"");
  }
  parameter_file file{document["product"].GetString(), {}};
  for (const auto& member : parameters->GetObject()) {
    const std::string path = member.name.GetString();
    if (!path.starts_with("config/")) throw usage_error(path + " in the file is not a parameter");
    file.parameters.emplace_back(path, nx::json_text(member.value));
  }
  return file;
}

void order_for_writing(parameter_file& file) {
  std::stable_sort(file.parameters.begin(), file.parameters.end(),
                   [](const auto& one, const auto& other) {
                     return turn_of(one.first, one.second) < turn_of(other.first, other.second);
                   });
}

}  // namespace tools::ctl
