#include "platform/nexel_client/request_text.h"

#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_text.h"
#include "platform/wire/limits.h"
#include "platform/wire/nx_error.h"

namespace nx {

std::string params_text(const std::string& path) {
  std::string text = R"({"path":)";
  append_json_string(text, path);
  text += '}';
  return text;
}

std::string params_text(const nexel_object& object) {
  json_document params(rapidjson::kObjectType);
  params.AddMember("path", to_json(object.get_path(), params.GetAllocator()),
                   params.GetAllocator());
  object.write_request_data(params, params.GetAllocator());
  std::string text = json_text(params);
  constexpr std::size_t envelope = 128;
  if (text.size() + envelope > limits::line_bytes) {
    throw nx_error(nx_error::invalid, "Request of " + std::to_string(text.size()) +
                                          " bytes is beyond the limit of " +
                                          std::to_string(limits::line_bytes));
  }
  return text;
}

}  // namespace nx
