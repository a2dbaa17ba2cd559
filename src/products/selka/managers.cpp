// What the selka managers do alike, whatever their control type, and their instances.
#include <fmt/format.h>

#include <map>

#include "products/control_types_full.h"
#include "products/selka/manager.ipp"

namespace products::selka {

std::string port_table_text(const models::model& model) {
  std::map<std::string, unsigned> by_name;
  for (const unsigned number : models::ports(model))
    by_name[models::port_name(model, number).value()] = number;
  std::string text = "[";
  for (const auto& [name, number] : by_name) {
    text += fmt::format(R"({{"portname":"{}", "portnumber":{}}},)", name, number);
  }
  text.pop_back();
  return text + "]";
}

}  // namespace products::selka

template class manager::base<products::selka_control, products::selka_control>;
template class manager::base<products::selkaplus_control, products::selkaplus_control>;
template class products::selka::manager<products::selka_control, products::selka_control>;
template class products::selka::manager<products::selkaplus_control, products::selkaplus_control>;
template class products::selka::selkaplus::manager<products::selkaplus_control,
                                                   products::selkaplus_control>;
