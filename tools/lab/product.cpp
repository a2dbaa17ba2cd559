#include "tools/lab/product.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace tools::lab {

namespace {

const std::array<product, 6> products{{
    {"orvalite", "orva-lite", 15.0F, 1.0F},
    {"orvamax", "orva-max", 15.0F, 1.0F},
    {"orvapro", "orva-pro", 15.0F, 1.0F},
    {"orvakinet", "orva-kinet", 15.0F, 5.0F},
    {"selkamin", "selka-min", 25.0F, 0.0F},
    {"selkaplus", "selka-plus", 25.0F, 0.0F},
}};

}  // namespace

std::vector<std::string> product_names() {
  std::vector<std::string> names;
  for (const auto& known : products)
    names.push_back(known.name);
  return names;
}

const product& find_product(const std::string& name) {
  const auto* found = std::find_if(products.begin(), products.end(),
                                   [&name](const product& known) { return known.name == name; });
  if (found != products.end()) return *found;
  throw std::invalid_argument(
      fmt::format("unknown product {}; known are {}", name, fmt::join(product_names(), ", ")));
}

}  // namespace tools::lab
