#include "gateway/api/state_module.h"

#include <fmt/format.h>

#include <span>

#include "platform/wire/json_text.h"
#include "states/channel_state.h"
#include "states/line_state.h"

namespace gateway {

namespace {

std::string table_of(const char* name, std::span<const states::state_row> rows) {
  std::string text = fmt::format("export const {} = {{", name);
  for (const auto& row : rows) {
    text += "\n  ";
    nx::append_json_string(text, row.text);
    text += fmt::format(R"(: ["{}", "{}"],)", to_text(row.how), to_text(row.shown));
  }
  return text + "\n};\n";
}

}  // namespace

std::string state_module() {
  return table_of("channel", states::channel_states()) + table_of("line", states::line_states());
}

}  // namespace gateway
