#include "tools/lab/pages.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tools/insight/standing.h"
#include "tools/lab/channel_table.h"
#include "tools/lab/panel_text.h"

namespace tools::lab {

namespace {

using text_lines = std::vector<std::string>;

text_lines channel_lines(const view& seen, unsigned columns, look how) {
  text_lines lines;
  for (const auto& row : rows_by_need(seen))
    lines.push_back(table_row(row, columns, how));
  if (lines.empty()) lines.emplace_back("No channel yet.");
  return lines;
}

text_lines ladder_lines(const view& seen, unsigned columns, look how) {
  text_lines lines;
  for (const auto& side : seen.node.ladders) {
    const auto title = side.side == "rx" ? "Light that goes out, mean of the lit channels"
                                         : "Light that comes in, mean of the lit channels";
    lines.push_back(bold(cut(title, columns), how));
    lines.push_back(faint(cut(insight::rung_title(), columns), how));
    for (const auto& each : side.rungs) {
      const auto text = shortened(insight::rung_text(each), columns, how);
      lines.push_back(each.is_wrong ? painted(text, states::colour::red, how) : text);
    }
    if (side.rungs.empty()) lines.emplace_back("Not known yet.");
    if (side.why.empty()) continue;
    for (auto& line : wrapped("Wrong: " + side.why, columns, "  "))
      lines.push_back(painted(line, states::colour::red, how));
  }
  return lines;
}

text_lines device_lines(const view& seen, unsigned columns, look how) {
  text_lines lines;
  for (const auto& each : seen.node.devices) {
    const bool silent = each.alive == false;
    std::vector<std::string> figures;
    for (const auto& [name, value] : each.values)
      figures.push_back(fmt::format("{} {}", name, value));
    const auto state = silent ? fmt::format("SILENT for {:.0f} s", each.age.value_or(0.0))
                              : fmt::format("{}", fmt::join(figures, ", "));
    constexpr unsigned name_width = 12;
    auto name = each.name;
    for (const auto& line : wrapped(state, columns > name_width ? columns - name_width : columns)) {
      const auto text = cut(fmt::format("{:<{}}{}", name, name_width, line), columns);
      lines.push_back(silent ? painted(text, states::colour::red, how) : text);
      name.clear();
    }
  }
  if (lines.empty()) lines.emplace_back("No device has been read yet.");
  return lines;
}

text_lines event_page(const view& seen, unsigned columns, look how) {
  text_lines lines;
  for (const auto& line : insight::event_lines(seen.node.events, insight::places_of(seen.node))) {
    lines.push_back(shortened(line, columns, how));
  }
  if (lines.empty()) lines.emplace_back("Nothing has happened yet.");
  return {lines.rbegin(), lines.rend()};
}

}  // namespace

std::vector<std::string> page_lines(const view& seen, page which, unsigned columns, look how) {
  switch (which) {
    case page::ladder:
      return ladder_lines(seen, columns, how);
    case page::devices:
      return device_lines(seen, columns, how);
    case page::panel:
      return panel_lines(seen.lights, columns, how);
    case page::events:
      return event_page(seen, columns, how);
    case page::channels:
      break;
  }
  return channel_lines(seen, columns, how);
}

std::vector<std::string> newest_events(const view& seen, unsigned count) {
  constexpr std::size_t date_width = 11;
  auto lines = insight::event_lines(seen.node.events, insight::places_of(seen.node));
  if (lines.size() > count) lines.erase(lines.begin(), lines.end() - count);
  for (auto& line : lines)
    line.erase(0, date_width);  // a lab rarely runs past midnight
  return lines;
}

}  // namespace tools::lab
