#include "tools/lab/screen_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

#include "tools/lab/channel_table.h"
#include "tools/lab/pages.h"

namespace tools::lab {

namespace {

using text_lines = std::vector<std::string>;

constexpr unsigned most_events = 3;
// Below this height, events and captions make room for problems.
constexpr unsigned rows_for_all = 16;
constexpr unsigned share_of_findings = 3;  // a third of the screen's rows

std::string clock_text(std::chrono::seconds running) {
  const auto total = running.count();
  return fmt::format("{:02}:{:02}:{:02}", total / 3600, total / 60 % 60, total % 60);
}

/// As many of the words as fit, none cut.
std::string fitting(const text_lines& words, unsigned columns) {
  std::string line;
  for (const auto& word : words) {
    auto longer = line;
    longer.append(line.empty() ? "" : "  ").append(word);
    if (width_of(longer) <= columns) line = std::move(longer);
  }
  return line;
}

/// What matters most stands first.
std::string title(const view& seen, const picture_options& options, unsigned columns) {
  text_lines words{fmt::format("lumora lab  {}{}", options.product,
                               options.node.empty() ? "" : fmt::format("  {} node", options.node)),
                   clock_text(options.running), "peer " + seen.peer};
  if (seen.voa_db) words.push_back(fmt::format("VOA {:.1f} dB", *seen.voa_db));
  if (!seen.node.turn.empty()) words.push_back("turn " + seen.node.turn);
  if (!options.web.empty()) words.push_back(options.web);
  return fitting(words, columns);
}

states::colour colour_of_summary(const view& seen) {
  if (!seen.answers || insight::needs_person(seen.findings)) return states::colour::red;
  return seen.findings.empty() ? states::colour::green : states::colour::blue;
}

/// The problems: the first with everything known about it, the others one line each.
text_lines finding_lines(const view& seen, screen_size size, look how) {
  text_lines lines;
  const auto most = std::max(size.rows / share_of_findings, 2U);
  unsigned left_out = 0;
  for (const auto& each : seen.findings) {
    if (!each.needs_person()) continue;
    if (lines.size() + 1 >= most && !lines.empty()) {
      ++left_out;
      continue;
    }
    auto text = insight::full_sentence(each, seen.node);
    if (lines.empty()) {
      for (const auto& more : {each.doing, each.remedy})
        text += more.empty() ? "" : " " + more;
      lines = wrapped(text, size.columns, "  ");
      if (lines.size() > most) lines.resize(most);
    } else {
      lines.push_back(shortened(text, size.columns, how));
    }
  }
  for (auto& line : lines)
    line = painted(line, states::colour::red, how);
  if (left_out > 0) lines.push_back(faint(fmt::format("and {} more", left_out), how));
  return lines;
}

text_lines head(const view& seen, const picture_options& options, screen_size size, look how) {
  text_lines lines{bold(title(seen, options, size.columns), how)};
  const auto summary = seen.answers ? seen.node.summary : "The daemon does not answer.";
  for (auto& line : wrapped(summary, size.columns, "  "))
    lines.push_back(painted(line, colour_of_summary(seen), how));
  for (auto& line : finding_lines(seen, size, how))
    lines.push_back(std::move(line));
  if (options.shown == page::channels) lines.push_back(faint(table_title(size.columns), how));
  return lines;
}

/// As many captions as fit, none truncated.
std::string captions(const picture_options& options, unsigned columns) {
  constexpr std::array<std::pair<page, const char*>, 5> pages{{{page::channels, "c channels"},
                                                               {page::ladder, "l ladder"},
                                                               {page::devices, "d devices"},
                                                               {page::panel, "p panel"},
                                                               {page::events, "e events"}}};
  text_lines words{"q ends"};
  for (const auto& [which, name] : pages) {
    if (which != options.shown) words.emplace_back(name);
  }
  if (!options.node.empty()) words.emplace_back("tab other node");
  words.emplace_back("arrows, page keys, home, end");
  return fitting(words, columns);
}

text_lines foot(const view& seen, const picture_options& options, screen_size size, look how) {
  text_lines lines;
  if (size.rows >= rows_for_all) {
    for (const auto& line : newest_events(seen, most_events))
      lines.push_back(faint(shortened(line, size.columns, how), how));
    lines.push_back(faint(captions(options, size.columns), how));
  }
  // A truncated command is a different command.
  if (!options.command.empty() && options.command.size() <= size.columns) {
    lines.push_back(options.command);
  }
  return lines;
}

}  // namespace

drawn_picture picture(const view& seen, const picture_options& options, screen_size size,
                      look how) {
  drawn_picture drawn{head(seen, options, size, how), 0, 0};
  auto& lines = drawn.lines;
  const auto below = foot(seen, options, size, how);
  const auto taken = static_cast<unsigned>(lines.size() + below.size());
  drawn.page_rows = size.rows > taken ? size.rows - taken : 0;
  const auto body = page_lines(seen, options.shown, size.columns, how);
  const auto all = static_cast<unsigned>(body.size());
  drawn.last_first_row = all > drawn.page_rows ? all - drawn.page_rows : 0;
  const auto first = std::min(options.first_row, drawn.last_first_row);
  for (unsigned row = 0; row < drawn.page_rows; ++row) {
    lines.push_back(first + row < all ? body[first + row] : "");
  }
  lines.insert(lines.end(), below.begin(), below.end());
  if (lines.size() > size.rows) lines.resize(size.rows);
  return drawn;
}

}  // namespace tools::lab
