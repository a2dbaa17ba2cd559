// Seeded noise. The distributions are written out here, since those of the standard library differ
// between implementations, and the same seed must give the same run everywhere.
#pragma once

#include <cstdint>
#include <random>
#include <string_view>

namespace sim {

class noise_source {
 public:
  /// Streams with different names are independent for the same seed, so that an additional
  /// instrument does not change what the others show.
  noise_source(std::uint64_t seed, std::string_view name);

  double uniform();  ///< 0 <= x < 1
  double uniform(double low, double high) { return low + (high - low) * uniform(); }
  /// Mean 0; polar method. A sigma of 0 gives 0 and draws nothing.
  double gaussian(double sigma);

 private:
  std::mt19937_64 engine_;  // its numbers are fixed by the standard
  double spare_ = 0.0;
  bool has_spare_ = false;
};

}  // namespace sim
