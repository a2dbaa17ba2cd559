#include "api/const_value.h"

#include "api/attach.h"
#include "api/json_support.h"
#include "helpers/finite.h"

namespace nx::api {

template <class T>
const_value<T>::const_value(const std::string& name, T value)
    : nx_db_leaf_node(name), value_(std::move(value)) {
  helpers::require_finite(value_);
}

template <class T>
const_value<T>::~const_value() = default;

template <class T>
std::shared_ptr<const_value<T>> const_value<T>::create(nx_db& db, const std::string& path,
                                                       T value) {
  return create_node<const_value>(db, path, std::move(value));
}

template <class T>
void const_value<T>::get(const std::string& path, json_allocator& allocator, json_value& result) {
  add_member(result, path, to_json(value_, allocator), allocator);
}

template <class T>
std::string const_value<T>::get_info() const {
  return "const value (read)";
}

template <class T>
nx::json_value const_value<T>::get_info(json_allocator& allocator) const {
  json_value record(rapidjson::kObjectType);
  add_text(record, "type", "const value", allocator);
  add_text(record, "valueType", value_type_name<T>(), allocator);
  add_capabilities(record, {"read"}, allocator);
  return record;
}

template class const_value<float>;
template class const_value<unsigned int>;
template class const_value<std::string>;

}  // namespace nx::api
