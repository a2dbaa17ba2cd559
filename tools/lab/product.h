// What differs between the products as far as the lab shows them.
#pragma once

#include <string>
#include <vector>

namespace tools::lab {

struct product {
  std::string name;
  std::string family;             ///< what a simulated peer of this kind is called
  float most_attenuation = 0.0F;  ///< end of the switch's attenuators, dB
  float saturation_cap = 0.0F;    ///< most of the amplifier's saturation that lowers the target, dB
};

/// Throws std::invalid_argument with the names that are known.
const product& find_product(const std::string& name);
std::vector<std::string> product_names();

}  // namespace tools::lab
