#include "tools/lab/installation.h"

#include <fmt/format.h>

#include "tools/lab/lab_failure.h"

namespace tools::lab {

namespace {

std::filesystem::path own_folder() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

}  // namespace

std::filesystem::path program_path(const std::string& name) {
  auto path = own_folder() / name;
  if (std::filesystem::exists(path)) return path;
  throw lab_failure(fmt::format("{} is missing; build the target {}", path.string(), name));
}

std::filesystem::path simulator_file(const std::string& name) {
  const auto here = own_folder();
  // build/PRESET/bin in a checkout, PREFIX/bin when installed
  const auto in_checkout = (here / "../../../sim" / name).lexically_normal();
  const auto installed = (here / "../share/lumora" / name).lexically_normal();
  for (const auto& place : {in_checkout, installed}) {
    if (std::filesystem::exists(place)) return place;
  }
  throw lab_failure(
      fmt::format("neither {} nor {} is there", in_checkout.string(), installed.string()));
}

}  // namespace tools::lab
