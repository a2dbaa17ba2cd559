#include "tests/support/nodes.h"

#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"

namespace test {

namespace {

void add_member(nx::json_value& object, const std::string& name, const std::string& json,
                nx::json_allocator& allocator) {
  nx::json_value value;
  value.CopyFrom(nx::parse_json(json), allocator);
  object.AddMember(nx::to_json(name, allocator), value, allocator);
}

}  // namespace

value_node::value_node(const std::string& name, std::string json)
    : nx_db_event_node(name), is_number_(nx::parse_json(json).IsNumber()), json_(std::move(json)) {}

void value_node::update(const std::string& json) {
  const std::lock_guard lock(mutex_);
  json_ = json;
  error_.reset();
  send_event_impl(event(), false);
  if (db != nullptr) db->append_to_history(shared_from_this());
}

void value_node::fail(const nx_error& error) {
  const std::lock_guard lock(mutex_);
  error_ = error;
  send_error_event(error);
}

std::string value_node::json() const {
  const std::lock_guard lock(mutex_);
  return json_;
}

void value_node::get(const std::string& path, json_allocator& allocator, json_value& result) {
  const std::lock_guard lock(mutex_);
  if (error_) throw nx_error(*error_);
  add_member(result, path, json_, allocator);
}

bool value_node::append_text(std::string& out) const {
  const std::lock_guard lock(mutex_);
  if (!error_) out += nx::json_text(nx::parse_json(json_));
  return !error_;
}

void value_node::set(const std::string&, const json_value& value) {
  if (value.IsString() && value == "bad") throw nx_error(-22, "Not a value for this node");
  if (is_number_) nx::from_json<float>(value);
  update(nx::json_text(value));
}

void value_node::subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                           json_allocator& allocator, json_value& result,
                           std::unique_lock<std::recursive_mutex>& lock) {
  const std::lock_guard value_lock(mutex_);
  nx_db_event_node::subscribe(session, path, allocator, result, lock);
  std::string shown = json_;
  if (error_) {
    shown.clear();
    nx::json_rpc::append_error_object(shown, *error_);
  }
  add_member(result, path, shown, allocator);
  send_event_to_session_impl(error_ ? create_error_event(get_path(0), *error_) : event(), true,
                             session);
}

nx_db_leaf_node::json_value value_node::get_info(json_allocator& allocator) const {
  auto record = nx_db_event_node::get_info(allocator);
  record.AddMember("type", "test value", allocator);
  return record;
}

nx_db_leaf_node::json_document value_node::event() {
  json_document document = create_value_changed_event(get_path(0));
  add_member(document, "value", json_, document.GetAllocator());
  return document;
}

void read_node::get(const std::string& path, json_allocator& allocator, json_value& result) {
  result.AddMember(nx::to_json(path, allocator), nx::to_json(read_(), allocator), allocator);
}

void command_node::run(const std::string& path, const json_value& args, json_allocator& allocator,
                       json_value& result) {
  add_member(result, path, does_(nx::json_text(args)), allocator);
}

}  // namespace test
