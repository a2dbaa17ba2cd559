#include "gateway/api/write_api.h"

#include <rapidjson/document.h>

#include "gateway/api/tree_api.h"
#include "platform/note_log/note_log.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/nx_error.h"
#include "platform/wire/shown_text.h"

namespace gateway {

namespace {

nx::json_document body_of(const request& asked) {
  try {
    return nx::parse_json(asked.body);
  } catch (const nx_error& error) {
    throw nx_error(nx_error::invalid, error.message);
  }
}

}  // namespace

void write_api::set(const request& asked, const respond& done) {
  const auto body = body_of(asked);
  if (!body.IsObject() || body.MemberCount() != 1) {
    throw nx_error(nx_error::invalid, "The body is {PATH:VALUE}");
  }
  const auto& member = *body.MemberBegin();
  send("set", {member.name.GetString(), member.name.GetStringLength()}, "value", member.value,
       done);
}

void write_api::run(const request& asked, const respond& done) {
  const auto body = body_of(asked);
  const bool fits = body.IsObject() && body.MemberCount() == 2 && body.HasMember("path") &&
                    body["path"].IsString() && body.HasMember("args");
  if (!fits) throw nx_error(nx_error::invalid, "The body is {\"path\":PATH,\"args\":VALUE}");
  send("run", {body["path"].GetString(), body["path"].GetStringLength()}, "args", body["args"],
       done);
}

void write_api::send(const char* method, const std::string& path, const char* member,
                     const nx::json_value& value, const respond& done) {
  note_log::write(note_log::info, "gateway", std::string(method) + ' ' + nx::shown_text(path));
  nx::json_document params(rapidjson::kObjectType);
  auto& allocator = params.GetAllocator();
  params.AddMember("path", nx::to_json(path, allocator), allocator);
  params.AddMember(rapidjson::StringRef(member), nx::json_value(value, allocator), allocator);
  link_->call(method, nx::json_text(params),
              [done](const nx::json_value* result, const nx_error* error) {
                done(error ? error_answer(*error) : json_answer(nx::json_text(*result) + '\n'));
              });
}

}  // namespace gateway
