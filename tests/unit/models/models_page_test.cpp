// Compares docs/models.md with the table: a column and a section for each model, and the facts in
// both.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "models/model.h"

namespace {

using cells = std::vector<std::string>;

cells cells_of(const std::string& line) {
  cells found;
  std::istringstream in(line);
  for (std::string cell; std::getline(in, cell, '|');) {
    const auto first = cell.find_first_not_of(' ');
    found.push_back(
        first == cell.npos ? "" : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
  }
  return found;
}

struct page {
  std::map<std::string, cells> rows;  ///< by their first cell, with an empty one for the names
  std::vector<std::string> sections;
};

page read_page() {
  page read;
  std::ifstream file(MODELS_PAGE);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("## ")) read.sections.push_back(line.substr(3));
    if (!line.starts_with("| ")) continue;
    const auto row = cells_of(line);
    read.rows[row.at(1)] = {row.begin() + 2, row.end()};
  }
  return read;
}

std::string channels_of(const models::model& model) {
  if (model.plan == models::plan_kind::by_command) return "by command";
  const auto& grid = model.grid;
  return fmt::format("{} fixed{}", grid.channels,
                     grid.group ? fmt::format(", in groups of {}", grid.group) : "");
}

std::string width_of(const models::model& model) {
  if (model.plan == models::plan_kind::by_command) return "any";
  return fmt::format("{} GHz", model.grid.spacing / 100);
}

std::string frequencies_of(const models::model& model) {
  const auto thz = [&](unsigned channel) { return model.grid.center(channel) / 1e5; };
  return fmt::format("{:.2f}–{:.2f}", thz(0), thz(model.grid.channels - 1));
}

std::string panel_of(const models::model& model) {
  const auto& [clients, cross_connects] = model.panel;
  std::string text = clients ? fmt::format("{} clients", clients) : "";
  if (cross_connects) text += fmt::format("{}{} XC", clients ? ", " : "", cross_connects);
  return text + ", line";
}

std::string saturation_of(const models::model& model) {
  return model.saturation_cap > 0 ? fmt::format("{:.0f} dB at most", model.saturation_cap) : "not";
}

TEST(models_page, has_a_column_and_a_section_for_each_model_with_its_facts) {
  const auto page = read_page();
  const auto names = models::names();
  ASSERT_EQ(page.rows.at(""), names);
  EXPECT_EQ(page.sections, names);
  for (std::size_t i = 0; i < names.size(); ++i) {
    SCOPED_TRACE(names[i]);
    const auto& model = models::get(names[i]);
    const auto cell = [&](const char* row) { return page.rows.at(row).at(i); };
    EXPECT_EQ(cell("channels"), channels_of(model));
    EXPECT_EQ(cell("width"), width_of(model));
    if (model.plan == models::plan_kind::fixed) {
      EXPECT_EQ(cell("frequencies, THz"), frequencies_of(model));
    }
    EXPECT_EQ(cell("panel"), panel_of(model));
    EXPECT_EQ(cell("target lowered for a saturated booster"), saturation_of(model));
    EXPECT_EQ(cell("line VOA") == "none", !model.has_line_voa);
    EXPECT_EQ(cell("known to a peer"), model.known_to_peers ? "yes" : "no");
  }
}

}  // namespace
