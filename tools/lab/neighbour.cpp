#include "tools/lab/neighbour.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <stdexcept>

#include "models/model.h"

namespace tools::lab {

namespace {

bool holds(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

std::vector<std::string> neighbour_names() {
  auto names = models::names();
  for (auto& family : models::simulated_peers())
    names.push_back(std::move(family));
  return names;
}

neighbour find_neighbour(const std::string& asked, const std::string& own_product) {
  const auto& name = asked.empty() ? own_product : asked;
  if (holds(models::names(), name)) return {neighbour::kind::daemon, name};
  if (holds(models::simulated_peers(), name)) return {neighbour::kind::simulated, name};
  throw std::invalid_argument(
      fmt::format("unknown peer {}; known are {}", name, fmt::join(neighbour_names(), ", ")));
}

neighbour simulated_like(const std::string& product) {
  return {neighbour::kind::simulated, models::simulated_name(models::get(product))};
}

}  // namespace tools::lab
