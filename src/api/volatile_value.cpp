#include "api/volatile_value.h"

#include "api/checked_reading.h"
#include "api/json_support.h"

namespace nx::api {

template <class T>
volatile_value_base<T>::volatile_value_base(const std::string& name) : nx_db_leaf_node(name) {}

template <class T>
volatile_value_base<T>::~volatile_value_base() = default;

template <class T>
void volatile_value_base<T>::get(const std::string& path, json_allocator& allocator,
                                 json_value& result) {
  const T value = checked_reading(read_getter(), *this);
  add_member(result, path, to_json(value, allocator), allocator);
}

template <class T>
std::string volatile_value_base<T>::get_info() const {
  return "volatile value (read)";
}

template <class T>
nx::json_value volatile_value_base<T>::get_info(json_allocator& allocator) const {
  json_value record = nx_db_leaf_node::get_info(allocator);
  add_text(record, "valueType", value_type_name<T>(), allocator);
  add_capabilities(record, {"read"}, allocator);
  add_text(record, "type", "volatile value", allocator);
  return record;
}

template <class T>
bool volatile_value_base<T>::read_may_wait() const {
  return true;
}

template class volatile_value_base<bool>;
template class volatile_value_base<float>;
template class volatile_value_base<int>;
template class volatile_value_base<unsigned int>;
template class volatile_value_base<std::string>;
template class volatile_value_base<nx::json_document>;

}  // namespace nx::api
