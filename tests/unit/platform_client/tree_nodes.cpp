#include "tree_nodes.h"

#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"

namespace client_test {

namespace {

void add_member(nx::json_value& object, const std::string& name, const std::string& json,
                nx::json_allocator& allocator) {
  nx::json_value value;
  value.CopyFrom(nx::parse_json(json), allocator);
  object.AddMember(nx::to_json(name, allocator), value, allocator);
}

template <class Node>
std::shared_ptr<Node> attach(nx_db& db, const std::string& path, std::shared_ptr<Node> node) {
  db.add_node(nx_db::split_path(path).second, node);
  return node;
}

}  // namespace

std::shared_ptr<value_node> value_node::create(nx_db& db, const std::string& path,
                                               const std::string& json) {
  return attach(db, path, std::make_shared<value_node>(nx_db::split_path(path).first, json));
}

value_node::value_node(const std::string& name, std::string json)
    : nx_db_event_node(name), json_(std::move(json)) {}

void value_node::publish(const std::string& json) {
  std::lock_guard lock(mutex_);
  json_ = json;
  error_.reset();
  send_event_impl(event(), false);
}

void value_node::fail(const nx_error& error) {
  std::lock_guard lock(mutex_);
  error_ = std::make_shared<nx_error>(error);
  send_error_event(error);
}

std::string value_node::json() const {
  std::lock_guard lock(mutex_);
  return json_;
}

void value_node::get(const std::string& path, json_allocator& allocator, json_value& result) {
  std::lock_guard lock(mutex_);
  if (error_) throw *error_;
  add_member(result, path, json_, allocator);
}

void value_node::set(const std::string&, const json_value& value) {
  if (value.IsString() && value == "bad") throw nx_error(-22, "Not a value for this node");
  publish(nx::json_text(value));
}

void value_node::subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                           json_allocator& allocator, json_value& result,
                           std::unique_lock<std::recursive_mutex>& lock) {
  std::lock_guard value_lock(mutex_);
  nx_db_event_node::subscribe(session, path, allocator, result, lock);
  add_member(result, path, json_, allocator);
  if (error_) {
    send_event_to_session_impl(create_error_event(get_path(0), *error_), true, session);
  } else {
    send_event_to_session_impl(event(), true, session);
  }
}

nx_db_leaf_node::json_document value_node::event() {
  json_document document = create_value_changed_event(get_path(0));
  add_member(document, "value", json_, document.GetAllocator());
  return document;
}

std::shared_ptr<command_node> command_node::create(nx_db& db, const std::string& path,
                                                   function does) {
  return attach(db, path,
                std::make_shared<command_node>(nx_db::split_path(path).first, std::move(does)));
}

command_node::command_node(const std::string& name, function does)
    : nx_db_leaf_node(name), does_(std::move(does)) {}

void command_node::run(const std::string& path, const json_value& args, json_allocator& allocator,
                       json_value& result) {
  add_member(result, path, does_(nx::json_text(args)), allocator);
}

}  // namespace client_test
