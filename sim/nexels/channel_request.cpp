#include "sim/nexels/channel_request.h"

#include <rapidjson/document.h>

namespace sim {

namespace {

unsigned number_or_zero(const rapidjson::Value& object, const char* name) {
  const auto at = object.FindMember(name);
  return at != object.MemberEnd() && at->value.IsUint() ? at->value.GetUint() : 0U;
}

std::optional<channel_request> channel_of(const rapidjson::Value& object) {
  if (!object.IsObject()) return std::nullopt;
  const channel_request request{number_or_zero(object, "center_frequency"),
                                number_or_zero(object, "width"), number_or_zero(object, "port")};
  if (request.centre == 0) return std::nullopt;
  return request;
}

}  // namespace

std::optional<channel_request> read_channel(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.data(), text.size());
  if (document.HasParseError()) return std::nullopt;
  return channel_of(document);
}

std::optional<std::vector<channel_request>> read_channels(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.data(), text.size());
  if (document.HasParseError() || !document.IsArray()) return std::nullopt;
  std::vector<channel_request> requests;
  for (const auto& element : document.GetArray()) {
    const auto request = channel_of(element);
    if (!request) return std::nullopt;
    requests.push_back(*request);
  }
  return requests;
}

}  // namespace sim
