#include "tools/lab/installation.h"

#include <fmt/format.h>

#include "tools/lab/lab_failure.h"

namespace tools::lab {

namespace {

std::filesystem::path own_folder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

/// build/PRESET/bin in a checkout, PREFIX/bin when installed.
std::filesystem::path first_of(const std::string& checkout, const std::string& install) {
  const auto in_checkout = (own_folder() / checkout).lexically_normal();
  const auto installed = (own_folder() / install).lexically_normal();
  for (const auto& place : {in_checkout, installed}) {
    if (std::filesystem::exists(place)) return place;
  }
  throw lab_failure(
      fmt::format("neither {} nor {} exists", in_checkout.string(), installed.string()));
}

}  // namespace

std::filesystem::path program_path(const std::string& name) {
  auto path = own_folder() / name;
  if (std::filesystem::exists(path)) return path;
  throw lab_failure(fmt::format("{} is missing; build the target {}", path.string(), name));
}

std::filesystem::path simulator_file(const std::string& name) {
  return first_of("../../../sim/" + name, "../share/lumora/" + name);
}

std::filesystem::path page_folder() {
  return first_of("../../../gateway/page", "../share/lumora/page");
}

}  // namespace tools::lab
