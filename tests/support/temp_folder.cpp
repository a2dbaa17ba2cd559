#include "tests/support/temp_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace test {

temp_folder::temp_folder() {
  char name[] = "/tmp/lumora.XXXXXX";
  if (::mkdtemp(name) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = name;
}

temp_folder::~temp_folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string temp_folder::write(const std::string& name, const std::string& text) const {
  const auto whole_path = file(name);
  std::filesystem::create_directories(std::filesystem::path(whole_path).parent_path());
  std::ofstream(whole_path) << text;
  return whole_path;
}

}  // namespace test
