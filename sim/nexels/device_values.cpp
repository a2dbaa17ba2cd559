#include "sim/nexels/device_values.h"

#include <rapidjson/document.h>

#include <initializer_list>

#include "platform/value_tree/nx_db.h"
#include "platform/wire/json_conversion.h"

namespace sim {

namespace {

template <class T>
const char* type_word() {
  if constexpr (std::is_same_v<T, bool>) return "bool";
  if constexpr (std::is_same_v<T, float>) return "float";
  if constexpr (std::is_same_v<T, int>) return "int";
  if constexpr (std::is_same_v<T, unsigned int>) return "unsigned int";
  return "string";
}

void add_member(nx::json_value& object, const std::string& name, nx::json_value value,
                nx::json_allocator& allocator) {
  object.AddMember(nx::to_json(name, allocator), value, allocator);
}

nx::json_value info_record(const std::string& kind, const char* type,
                           std::initializer_list<const char*> capabilities,
                           nx::json_allocator& allocator) {
  nx::json_value record(rapidjson::kObjectType);
  add_member(record, "type", nx::to_json(kind, allocator), allocator);
  add_member(record, "valueType", nx::to_json(std::string(type), allocator), allocator);
  nx::json_value names(rapidjson::kObjectType);
  for (const char* name : capabilities)
    add_member(names, name, nx::json_value(true), allocator);
  add_member(record, "capabilities", std::move(names), allocator);
  return record;
}

}  // namespace

template <class T>
reading<T>::reading(const std::string& name, T initial)
    : faulty_reading(name), value_(std::move(initial)) {}

template <class T>
void reading<T>::update(const T& value) {
  const std::lock_guard lock(mutex_);
  if (value == value_) return;
  value_ = value;
  value_changed();
}

template <class T>
T reading<T>::value() const {
  const std::lock_guard lock(mutex_);
  return value_;
}

template <class T>
nx::json_value reading<T>::true_value(json_allocator& allocator) const {
  return nx::to_json(value_, allocator);
}

template <class T>
std::string reading<T>::get_info() const {
  return "device reading (read,subscribe)";
}

template <class T>
nx::json_value reading<T>::get_info(json_allocator& allocator) const {
  return info_record("device reading", type_word<T>(), {"read", "subscribe"}, allocator);
}

template <class T>
setting<T>::setting(const std::string& name, T initial, apply accept)
    : reading<T>(name, std::move(initial)), accept_(std::move(accept)) {}

template <class T>
void setting<T>::set(const std::string&, const nx::json_value& value) {
  const T wanted = nx::from_json<T>(value);
  accept_(wanted);
  this->update(wanted);
  if (this->db) this->db->append_to_history(this->shared_from_this());
}

template <class T>
std::string setting<T>::get_info() const {
  return "device setting (read,write,subscribe)";
}

template <class T>
nx::json_value setting<T>::get_info(nx::json_allocator& allocator) const {
  return info_record("device setting", type_word<T>(), {"read", "write", "subscribe"}, allocator);
}

template <class Arg, class Answer>
device_command<Arg, Answer>::device_command(const std::string& name, action execute)
    : nx_db_leaf_node(name), execute_(std::move(execute)) {}

template <class Arg, class Answer>
void device_command<Arg, Answer>::run(const std::string& path, const json_value& args,
                                      json_allocator& allocator, json_value& result) {
  const Answer answer = execute_(nx::from_json<Arg>(args));
  add_member(result, path, nx::to_json(answer, allocator), allocator);
}

template <class Arg, class Answer>
std::string device_command<Arg, Answer>::get_info() const {
  return "device command returning response (write)";
}

template <class Arg, class Answer>
nx::json_value device_command<Arg, Answer>::get_info(json_allocator& allocator) const {
  return info_record("device command", type_word<Arg>(), {"write"}, allocator);
}

template class reading<bool>;
template class reading<float>;
template class reading<int>;
template class reading<unsigned int>;
template class reading<std::string>;
template class setting<bool>;
template class setting<float>;
template class setting<unsigned int>;
template class setting<std::string>;
template class device_command<bool, bool>;
template class device_command<int, int>;
template class device_command<std::string, bool>;

}  // namespace sim
