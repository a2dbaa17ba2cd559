// Compares docs/tree.md with the tree of a running node of each model: the description of each
// path, no path without a row, no row without a path.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "main/lumora_manager.h"
#include "models/model.h"
#include "platform/value_tree/nx_db_node.h"
#include "tests/support/plant_node.h"
#include "tools/common/units.h"

namespace {

using namespace std::chrono_literals;
using strings = std::vector<std::string>;

strings split(const std::string& text, char separator) {
  strings parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);)
    parts.push_back(part);
  return parts;
}

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" `");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" `") - first + 1);
}

/// "orva but orvakinet": families and models, and after "but" the exceptions.
strings models_of(const std::string& words) {
  strings found;
  bool leave_out = false;
  for (const auto& word : split(words, ' ')) {
    if (word == "but") leave_out = true;
    for (const auto& model : models::all()) {
      if (word != "all" && word != models::name_of(model.kin) && word != model.name) continue;
      std::erase(found, model.name);
      if (!leave_out) found.emplace_back(model.name);
    }
  }
  return found;
}

/// The description of a path on the page, and on the tree: type, unit, access, when it is updated.
struct description {
  std::string type;
  std::string unit;
  std::string access;
  std::string updated;

  bool operator==(const description&) const = default;
  std::string text() const {
    return fmt::format("| {} | {} | {} | {} |", type, unit, access, updated);
  }
};

struct row {
  std::string path;
  description what;
  strings models;
};

/// The page's tables, with a row for each direction where it says SIDE.
std::vector<row> documented() {
  std::vector<row> rows;
  std::ifstream page(TREE_PAGE);
  for (std::string line; std::getline(page, line);) {
    if (!line.starts_with("| `")) continue;
    auto cells = split(line, '|');
    std::transform(cells.begin(), cells.end(), cells.begin(), trimmed);
    if (cells.size() < 8 || cells[7].empty()) throw std::runtime_error("not a whole row: " + line);
    row of{cells[1], {cells[2], cells[3], cells[4], cells[5]}, models_of(cells[6])};
    const auto side = of.path.find("SIDE");
    if (side == std::string::npos) {
      rows.push_back(of);
      continue;
    }
    for (const char* word : {"rx", "tx"}) {
      rows.push_back(of);
      rows.back().path.replace(side, 4, word);
    }
  }
  return rows;
}

/// As the page writes it, with ID for a channel.
std::string pattern_of(const std::string& path) {
  auto segments = split(path, '/');
  for (std::size_t i = 1; i < segments.size(); ++i) {
    const bool is_number = segments[i].find_first_not_of("0123456789") == std::string::npos;
    if (segments[i - 1] == "client" && is_number) segments[i] = "ID";
  }
  return fmt::format("{}", fmt::join(segments, "/"));
}

std::string access_of(const rapidjson::Value& record) {
  std::string letters;
  for (const auto& [name, letter] :
       {std::pair("read", 'r'), std::pair("subscribe", 's'), std::pair("write", 'w')}) {
    const auto& capabilities = record["capabilities"];
    if (capabilities.HasMember(name) && capabilities[name].GetBool()) letters += letter;
  }
  return letters;
}

std::string update_of(const rapidjson::Value& record) {
  const std::string kind = record["type"].GetString();
  if (kind == "polled volatile value")
    return fmt::format("{} s", record["hysteresis"]["pollInterval"].GetUint());
  if (kind == "const value") return "never";
  if (kind == "volatile value") return "read";
  if (kind == "config param") return "write";
  return kind == "command" ? "" : "change";
}

description found_at(nx_db& tree, const std::string& path) {
  rapidjson::Document record;
  record.CopyFrom(tree.find(path)->get_info(record.GetAllocator()), record.GetAllocator());
  return {record["valueType"].GetString(), std::string(tools::unit_of(path)), access_of(record),
          update_of(record)};
}

class tree_page : public testing::TestWithParam<std::string> {
 protected:
  /// Runs up to the main loop as the process does, then some cycles with a known peer, so that late
  /// values exist too.
  void run_node() {
    bool running = true;
    node_.clock().at(node_.now() + 3s, [&running] { running = false; });
    daemon_->start(node_.manager(), &running);
    node_.add_channels();
    node_.face_itself();
    node_.run_for(20s);
  }

  test::plant_node node_{GetParam()};
  std::shared_ptr<lumora_manager> daemon_ = std::make_shared<lumora_manager>(node_.tree());
};

TEST_P(tree_page, tells_the_tree_of_a_running_node) {
  run_node();
  std::map<std::string, description> in_page;
  for (const auto& row : documented()) {
    if (std::ranges::find(row.models, GetParam()) == row.models.end()) continue;
    EXPECT_TRUE(in_page.emplace(row.path, row.what).second) << row.path << " has two rows";
  }
  std::map<std::string, std::string> on_tree;
  for (const auto& path : node_.tree().list("", true))
    on_tree.emplace(pattern_of(path), path);
  for (const auto& [pattern, path] : on_tree) {
    const auto found = found_at(node_.tree(), path);
    const auto row = in_page.find(pattern);
    if (row == in_page.end()) {
      ADD_FAILURE() << "no row for | `" << pattern << "` " << found.text();
    } else {
      EXPECT_EQ(row->second.text(), found.text()) << path;
    }
  }
  for (const auto& [pattern, what] : in_page)
    EXPECT_TRUE(on_tree.contains(pattern)) << pattern << " has a row and is not on the tree";
  for (const auto& path : node_.tree().list("insight/device", true)) {
    if (path.ends_with("/alive")) {
      EXPECT_TRUE(node_.flag(path)) << path;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(models, tree_page, testing::ValuesIn(models::names()),
                         [](const auto& of) { return of.param; });

}  // namespace
