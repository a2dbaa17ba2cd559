#include "tools/lab/light_path.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace tools::lab {

namespace {

// Less than this is no light, dBm; a loss beyond the other is a cut, dB.
constexpr double dark_dbm = -60.0;
constexpr double cut_db = 60.0;

/// The median: one that is blocked or has gone astray says nothing about the others.
std::optional<double> typical_of(const readings& read, unsigned node, const char* side,
                                 const char* point) {
  const auto before = fmt::format("truth/node/{}/{}/channel/", node, side);
  const auto after = fmt::format("/{}", point);
  std::vector<double> lit;
  for (const auto key : read.numbered(before, after)) {
    const auto power = read.number(before + std::to_string(key) + after);
    if (power && *power >= dark_dbm) lit.push_back(*power);
  }
  if (lit.empty()) return std::nullopt;
  const auto middle = lit.begin() + static_cast<std::ptrdiff_t>(lit.size() / 2);
  std::nth_element(lit.begin(), middle, lit.end());
  return *middle;
}

}  // namespace

light_path path_of(const readings& read, unsigned from) {
  const unsigned to = 1 - from;
  light_path path;
  path.client = typical_of(read, from, "rx", "laserPower");
  path.booster = typical_of(read, from, "rx", "boosterPower");
  const auto gain = read.number(fmt::format("truth/node/{}/rx/gain", from));
  if (path.booster && gain) path.after_switch = *path.booster - *gain;
  path.line = typical_of(read, from, "rx", "linePower");
  path.far_line = typical_of(read, to, "tx", "linePower");
  path.far_preamp = typical_of(read, to, "tx", "preampPower");
  path.far_client = typical_of(read, to, "tx", "clientPower");
  const auto span = read.number(fmt::format("truth/fibre/{}/spanLoss", from));
  if (span && *span < cut_db) path.span_db = span;
  return path;
}

}  // namespace tools::lab
