#include "api/command.h"

#include "api/json_support.h"

namespace nx::api {

command_base::command_base(const std::string& name) : nx_db_leaf_node(name) {}

command_base::~command_base() = default;

void command_base::run(const std::string& path, const json_value& args, json_allocator& allocator,
                       json_value& result) {
  const bool answer = execute(from_json<json_document>(args));
  add_member(result, path, json_value(answer), allocator);
}

std::string command_base::get_info() const {
  return "command value returning response (write)";
}

nx::json_value command_base::get_info(json_allocator& allocator) const {
  json_value record(rapidjson::kObjectType);
  add_text(record, "type", "command", allocator);
  add_text(record, "valueType", "json", allocator);
  add_text(record, "returnType", "bool", allocator);
  add_capabilities(record, {"write"}, allocator);
  return record;
}

bool command_base::node_flag() const {
  return true;
}

bool command_base::write_returns_response() const {
  return true;
}

}  // namespace nx::api
