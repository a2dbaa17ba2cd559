#include "sim/plant/noise.h"

#include <cmath>

namespace sim {

namespace {

std::uint64_t stream_seed(std::uint64_t seed, std::string_view name) {
  // FNV-1a of the name, then one mixing round, so that neighbouring seeds are unrelated.
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char c : name) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  }
  hash ^= seed + 0x9E3779B97F4A7C15ULL + (hash << 6) + (hash >> 2);
  hash = (hash ^ (hash >> 30)) * 0xBF58476D1CE4E5B9ULL;
  return hash ^ (hash >> 27);
}

}  // namespace

noise_source::noise_source(std::uint64_t seed, std::string_view name)
    : engine_(stream_seed(seed, name)) {}

double noise_source::uniform() {
  return static_cast<double>(engine_() >> 11) * 0x1.0p-53;
}

double noise_source::gaussian(double sigma) {
  if (sigma <= 0.0) return 0.0;
  if (has_spare_) {
    has_spare_ = false;
    return spare_ * sigma;
  }
  double u = 0.0;
  double v = 0.0;
  double square = 0.0;
  do {
    u = uniform(-1.0, 1.0);
    v = uniform(-1.0, 1.0);
    square = u * u + v * v;
  } while (square >= 1.0 || square == 0.0);
  const double scale = std::sqrt(-2.0 * std::log(square) / square);
  spare_ = v * scale;
  has_spare_ = true;
  return u * scale * sigma;
}

}  // namespace sim
