// JSON for the node classes' .cpp files: members, events and the parts of the info records.
// Everything here is called with the mutex of the node concerned.
#pragma once

#include <rapidjson/document.h>

#include <boost/core/demangle.hpp>
#include <chrono>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <variant>

#include "platform/value_tree/event_frame.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/nx_db_node.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"

namespace nx::api {

inline void add_member(json_value& object, const std::string& name, json_value value,
                       json_allocator& allocator) {
  object.AddMember(to_json(name, allocator), value, allocator);
}

inline void add_text(json_value& object, const char* name, const std::string& text,
                     json_allocator& allocator) {
  add_member(object, name, to_json(text, allocator), allocator);
}

/// The name of T in info records.
template <class T>
std::string value_type_name() {
  if constexpr (std::is_same_v<T, std::string>) {
    return "string";
  } else if constexpr (std::is_same_v<T, json_document>) {
    return "json";
  } else {
    return boost::core::demangle(typeid(T).name());
  }
}

inline void add_capabilities(json_value& record, std::initializer_list<const char*> names,
                             json_allocator& allocator) {
  json_value capabilities(rapidjson::kObjectType);
  for (const char* name : names)
    add_member(capabilities, name, json_value(true), allocator);
  add_member(record, "capabilities", std::move(capabilities), allocator);
}

inline json_value error_object(const nx_error& error, json_allocator& allocator) {
  json_value object(rapidjson::kObjectType);
  add_member(object, "code", json_value(error.code), allocator);
  add_text(object, "message", error.message, allocator);
  return object;
}

/// The text that a subscription begins with, of a value that may be in error.
template <class T>
nx_db_leaf_node::first_value append_first(std::string& text,
                                          const std::variant<T, nx_error>& result) {
  if (const auto* error = std::get_if<nx_error>(&result)) {
    json_rpc::append_error_object(text, *error);
    return nx_db_leaf_node::first_value::error;
  }
  append_json(text, std::get<T>(result));
  return nx_db_leaf_node::first_value::value;
}

template <class T>
json_document value_changed_event(const nx_db_event_node& node, std::string path, const T& value) {
  json_document event = node.create_value_changed_event(std::move(path));
  add_member(event, "value", to_json(value, event.GetAllocator()), event.GetAllocator());
  return event;
}

/// The first event of a subscription, to the session alone. Hundreds of them come with a pattern,
/// so they are written as text like later ones.
template <class T>
void send_first_event(const nx_db_event_node& node, const T& value, nx_session& session) {
  std::string text;
  append_json(text, value);
  const auto time = node.db ? node.db->now() : std::chrono::system_clock::now();
  session.deliver(frame_value_event(node.path(), time, text),
                  session.subscription_number(node.path()), true);
}

/// Informs all subscribers and the history. A node that is not attached has neither.
template <class T>
void publish(nx_db_event_node& node, const T& value) {
  if (!node.db) return;
  std::string text;
  append_json(text, value);
  node.publish_text(text);
}

}  // namespace nx::api
