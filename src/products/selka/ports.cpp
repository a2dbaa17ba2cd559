#include <fmt/format.h>

#include "products/selka/manager.h"

namespace products::selka {

std::string port_table_text(const port_table& ports) {
  std::string text = "[";
  for (const auto& [name, number] : ports) {
    text += fmt::format(R"({{"portname":"{}", "portnumber":{}}},)", name, number);
  }
  text.pop_back();
  return text + "]";
}

port_table selka_ports() {
  return {{"localAD", 2}, {"xc1", 4},     {"xc2", 6},     {"xc3", 8},    {"xc4Wss1", 1},
          {"xc4Wss2", 3}, {"xc4Wss3", 5}, {"xc4Wss4", 7}, {"xc4Wss5", 9}};
}

port_table selkaplus_ports() {
  constexpr unsigned count = 34;
  port_table ports;
  for (unsigned number = 1; number <= count; ++number)
    ports[fmt::format("xc{}", number)] = number;
  return ports;
}

}  // namespace products::selka
