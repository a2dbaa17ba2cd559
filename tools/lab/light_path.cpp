#include "tools/lab/light_path.h"

#include <fmt/format.h>

namespace tools::lab {

namespace {

// Less than this is no light, dBm; a loss beyond the other is a cut, dB.
constexpr double dark_dbm = -60.0;
constexpr double cut_db = 60.0;

std::optional<double> mean_of(const readings& read, unsigned node, const char* side,
                              const char* point) {
  const auto before = fmt::format("truth/node/{}/{}/channel/", node, side);
  const auto after = fmt::format("/{}", point);
  double sum = 0.0;
  unsigned lit = 0;
  for (const auto key : read.numbered(before, after)) {
    const auto power = read.number(before + std::to_string(key) + after);
    if (!power || *power < dark_dbm) continue;
    sum += *power;
    ++lit;
  }
  if (lit == 0) return std::nullopt;
  return sum / lit;
}

}  // namespace

light_path path_of(const readings& read, unsigned from) {
  const unsigned to = 1 - from;
  light_path path;
  path.client = mean_of(read, from, "rx", "laserPower");
  path.booster = mean_of(read, from, "rx", "boosterPower");
  const auto gain = read.number(fmt::format("truth/node/{}/rx/gain", from));
  if (path.booster && gain) path.after_switch = *path.booster - *gain;
  path.line = mean_of(read, from, "rx", "linePower");
  path.far_line = mean_of(read, to, "tx", "linePower");
  path.far_preamp = mean_of(read, to, "tx", "preampPower");
  path.far_client = mean_of(read, to, "tx", "clientPower");
  const auto span = read.number(fmt::format("truth/fibre/{}/spanLoss", from));
  if (span && *span < cut_db) path.span_db = span;
  return path;
}

}  // namespace tools::lab
