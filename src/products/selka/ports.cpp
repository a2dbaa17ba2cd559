#include <fmt/format.h>

#include <map>

#include "products/selka/manager.h"

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
