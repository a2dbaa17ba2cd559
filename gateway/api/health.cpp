#include "gateway/api/health.h"

#include <rapidjson/document.h>

#include "platform/nexel_client/request_text.h"

namespace gateway {

namespace {

constexpr unsigned unavailable = 503;

/// The two values that can prevent regulation; a daemon without modes always regulates.
constexpr const char* asked_path = "config/*";
constexpr const char* released = "config/redisConfigStatus";
constexpr const char* mode = "config/automationMode";

answer judge(const nx::json_value& values) {
  const auto release = values.FindMember(released);
  if (release == values.MemberEnd() || !release->value.IsBool() || !release->value.GetBool()) {
    return refusal(unavailable, "The daemon waits for its configuration");
  }
  const auto how = values.FindMember(mode);
  if (how != values.MemberEnd() && (how->value == "bright" || how->value == "dark")) {
    return refusal(unavailable, std::string("The daemon does not regulate in the mode ") +
                                    how->value.GetString());
  }
  return refusal(200, "regulates");
}

}  // namespace

void health::ready(const respond& done) const {
  link_->call("get", nx::params_text(asked_path),
              [done](const nx::json_value* result, const nx_error* error) {
                if (error) return done(refusal(unavailable, error->message));
                if (!result->IsObject())
                  return done(refusal(unavailable, "The daemon tells nothing"));
                done(judge(*result));
              });
}

}  // namespace gateway
