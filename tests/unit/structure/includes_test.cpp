// Includes point one way: tools, sim and src to platform; inside src from products over base,
// device and api to helpers. A layer that reached up could no longer be built and tested alone.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

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
    {"helpers", {"helpers", "platform"}},
    {"api", {"api", "helpers", "platform"}},
    {"device", {"device", "api", "helpers", "platform"}},
    {"base", {"base", "device", "api", "helpers", "platform"}},
    {"products", {"products", "base", "device", "api", "helpers", "platform"}},
    {"main", {"main", "products", "base", "device", "api", "helpers", "platform"}},
    {"sim", {"sim", "platform"}},
    {"tools", {"tools", "sim", "platform"}},
};

bool is_source(const fs::path& file) {
  const auto extension = file.extension();
  return extension == ".h" || extension == ".cpp" || extension == ".ipp";
}

void expect_allowed_includes(const fs::path& file) {
  static const std::regex project_include("^#include \"([^\"]+/[^\"]+)\"");
  const auto name = file.lexically_relative(root).string();
  const auto& may_include = allowed.at(layer_of(name));
  std::ifstream in(file);
  std::smatch found;
  for (std::string line; std::getline(in, line);) {
    if (!std::regex_search(line, found, project_include)) continue;
    EXPECT_TRUE(may_include.contains(layer_of_include(found[1])))
        << name << " includes " << found[1];
  }
}

TEST(structure, includes_point_one_way) {
  unsigned files = 0;
  for (const char* folder : {"platform", "src", "sim", "tools"}) {
    for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
      if (!entry.is_regular_file() || !is_source(entry.path())) continue;
      expect_allowed_includes(entry.path());
      ++files;
    }
  }
  EXPECT_GT(files, 100u) << "the sources were not found";
}

}  // namespace
