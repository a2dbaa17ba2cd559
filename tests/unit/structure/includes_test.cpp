// Includes point one way: tools, gateway, sim and src to platform, models and states, which do not
// know each other; inside src from products over base, device and api to helpers. A layer with an
// upward include could no longer be built and tested alone.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "models/model.h"

namespace {

namespace fs = std::filesystem;
const fs::path root = SOURCE_FOLDER;

/// The first folder below the root, and below src/ the second.
std::string layer_of(const std::string& path) {
  const auto first = path.substr(0, path.find('/'));
  if (first != "src") return first;
  const auto rest = path.substr(4);
  return rest.substr(0, rest.find('/'));
}

/// Headers of the daemon are named from src/, all others from the root.
std::string layer_of_include(const std::string& named) {
  return fs::exists(root / "src" / named) ? layer_of("src/" + named) : layer_of(named);
}

const std::map<std::string, std::set<std::string>> allowed{
    {"platform", {"platform"}},
    {"models", {"models"}},
    {"states", {"states"}},
    {"helpers", {"helpers", "platform"}},
    {"api", {"api", "helpers", "platform"}},
    {"device", {"device", "api", "helpers", "platform"}},
    {"base", {"base", "device", "api", "helpers", "platform", "models", "states"}},
    {"products", {"products", "base", "device", "api", "helpers", "platform", "models", "states"}},
    {"main", {"main", "products", "base", "device", "api", "helpers", "platform", "models"}},
    {"sim", {"sim", "platform", "models"}},
    {"tools", {"tools", "sim", "platform", "models", "states"}},
    {"gateway", {"gateway", "platform", "models", "states"}},
};

/// Each line of the project's own sources below a folder, with the file's name from the root.
void for_each_line(const std::string& folder,
                   const std::function<void(const std::string&, const std::string&)>& look) {
  for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
    const auto extension = entry.path().extension();
    if (extension != ".h" && extension != ".cpp" && extension != ".ipp") continue;
    const auto name = entry.path().lexically_relative(root).string();
    std::ifstream in(entry.path());
    for (std::string line; std::getline(in, line);)
      look(name, line);
  }
}

TEST(structure, includes_point_one_way) {
  const std::regex project_include("^#include \"([^\"]+/[^\"]+)\"");
  unsigned includes = 0;
  for (const char* folder : {"platform", "models", "states", "src", "sim", "tools", "gateway"}) {
    for_each_line(folder, [&](const std::string& name, const std::string& line) {
      std::smatch found;
      if (!std::regex_search(line, found, project_include)) return;
      EXPECT_TRUE(allowed.at(layer_of(name)).contains(layer_of_include(found[1])))
          << name << ": " << line;
      ++includes;
    });
  }
  EXPECT_GT(includes, 1000u) << "the sources were not found";
}

/// The folders of platform/ that build on others of it; wire, io and threads stand below all of
/// them.
const std::map<std::string, std::set<std::string>> allowed_in_platform{
    {"wire", {"wire"}},
    {"io", {"io"}},
    {"threads", {"threads"}},
    {"note_log", {"note_log", "wire"}},
    {"board_spec", {"board_spec", "note_log", "wire"}},
    {"kvs_client", {"kvs_client", "wire"}},
    {"value_tree", {"value_tree", "threads", "io", "note_log", "wire"}},
    {"nexel_client", {"nexel_client", "threads", "io", "note_log", "wire"}},
    {"in_process",
     {"in_process", "nexel_client", "value_tree", "threads", "io", "note_log", "wire"}},
};

TEST(structure, server_and_clients_of_a_tree_know_nothing_of_each_other) {
  const std::regex include("^#include \"platform/([a-z_]+)/");
  for_each_line("platform", [&](const std::string& name, const std::string& line) {
    std::smatch found;
    if (!std::regex_search(line, found, include)) return;
    const auto below = name.substr(name.find('/') + 1);
    EXPECT_TRUE(allowed_in_platform.at(below.substr(0, below.find('/'))).contains(found[1]))
        << name << ": " << line;
  });
}

bool decides_by_model(const std::string& line) {
  for (const auto& model : models::all()) {
    if (line.find(fmt::format("\"{}\"", model.name)) != line.npos) return true;
  }
  for (const auto kin : {models::family::orva, models::family::selka}) {
    if (line.find(fmt::format("starts_with(\"{}", models::name_of(kin))) != line.npos) return true;
  }
  return false;
}

TEST(structure, no_name_of_a_model_decides_but_in_its_class) {
  for (const char* folder : {"platform", "src", "sim", "tools", "gateway", "tests/support"}) {
    for_each_line(folder, [](const std::string& name, const std::string& line) {
      if (name.starts_with("src/products/")) return;
      EXPECT_FALSE(decides_by_model(line)) << name << ": " << line;
    });
  }
}

}  // namespace
