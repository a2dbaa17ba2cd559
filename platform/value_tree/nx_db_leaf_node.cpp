#include <rapidjson/document.h>

#include "platform/value_tree/nx_db_node.h"
#include "platform/value_tree/path_pattern.h"
#include "platform/wire/json_conversion.h"

namespace {

[[noreturn]] void refuse(const char* what, const std::string& path) {
  throw nx_error(nx_error::invalid, what + path);
}

}  // namespace

nx_db_node::nx_db_node(std::string name) : name_(std::move(name)), path_(name_) {}

nx_db_node::~nx_db_node() = default;

std::string nx_db_node::get_path(unsigned depth) const {
  std::string_view path = path_;
  for (; depth > 0; --depth)
    path = nx::first_segment(path).second;
  return std::string(path);
}

nx_db_leaf_node::nx_db_leaf_node(const std::string& name) : nx_db_node(name) {}

nx_db_leaf_node::~nx_db_leaf_node() = default;

nx::json_value nx_db_leaf_node::export_history_entry(json_allocator& allocator) const {
  // `get` is not const because a node may count or warn while it is read.
  json_value result(rapidjson::kObjectType);
  const_cast<nx_db_leaf_node*>(this)->get("value", allocator, result);
  return std::move(result["value"]);
}

void nx_db_leaf_node::get(const std::string& path, json_allocator&, json_value&) {
  refuse("Not readable: ", path);
}

bool nx_db_leaf_node::append_text(std::string&) const {
  return false;
}

void nx_db_leaf_node::set(const std::string& path, const json_value&) {
  refuse("Not writable: ", path);
}

void nx_db_leaf_node::run(const std::string& path, const json_value&, json_allocator&,
                          json_value&) {
  refuse("Not runnable: ", path);
}

void nx_db_leaf_node::reset() {
  refuse("Not resettable: ", get_path(0));
}

void nx_db_leaf_node::periodic_task(bool) {}

bool nx_db_leaf_node::subscription_supported() const {
  return false;
}

void nx_db_leaf_node::subscribe(std::shared_ptr<nx_session>, const std::string& path,
                                json_allocator&, json_value&,
                                std::unique_lock<std::recursive_mutex>&) {
  refuse("Not subscribable: ", path);
}

nx_db_leaf_node::first_value nx_db_leaf_node::subscribe_text(const std::shared_ptr<nx_session>&,
                                                             nx_subscription_number, first_text&) {
  return first_value::by_document;
}

void nx_db_leaf_node::unsubscribe(std::shared_ptr<nx_session>) {}

std::string nx_db_leaf_node::get_info() const {
  return "value ()";
}

nx::json_value nx_db_leaf_node::get_info(json_allocator&) const {
  return json_value(rapidjson::kObjectType);
}

bool nx_db_leaf_node::node_flag() const {
  return false;
}

bool nx_db_leaf_node::write_returns_response() const {
  return false;
}

bool nx_db_leaf_node::read_may_wait() const {
  return false;
}

bool nx_db_leaf_node::write_may_wait() const {
  return true;
}
