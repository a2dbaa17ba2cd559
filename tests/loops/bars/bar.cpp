#include "tests/loops/bars/bar.h"

#include <algorithm>

namespace bars {

namespace {

struct known_miss {
  const char* bar;
  const char* what;
  const char* models;  ///< models concerned, separated by blanks
  double at_most;
};

constexpr known_miss known_misses[] = {
    // The error that the dead band permits.
    {"half-band", "dB of a survivor after 6 s",
     "orvalite orvamax orvapro orvakinet selkamin selkaplus", 0.47},
    // The monitor's noise at the dead band's edge.
    {"one-channel", "dB of its largest step", "orvakinet", 0.41},
    {"rest", "switch writes an hour", "orvalite orvamax orvapro", 4},
    {"rest", "switch writes an hour", "orvakinet", 11},
    {"rest", "switch writes an hour", "selkamin selkaplus", 6},
    {"dead-part", "writes meanwhile", "orvamax orvapro", 1},
    {"dead-part", "writes meanwhile", "orvakinet", 5},
    {"dead-part", "writes meanwhile", "selkamin selkaplus", 4},
    // The compensator's passband, which the plant leaves out.
    {"osnr", "dB mean", "orvapro", 1.4},
    {"osnr", "dB worst", "orvapro", 1.75},
};

}  // namespace

double limit_for(const bar& of, const limit& figure, const std::string& model) {
  double at_most = figure.at_most;
  for (const auto& miss : known_misses) {
    if (std::string(of.name) != miss.bar || std::string(figure.what) != miss.what) continue;
    if (std::string(miss.models).find(model) == std::string::npos) continue;
    at_most = std::max(at_most, miss.at_most);
  }
  return at_most + rounding;
}

std::vector<bar> all_bars() {
  std::vector<bar> all;
  for (const auto& group : {client_bars(), rest_bars(), line_bars(), truth_bars(), phase_bars(),
                            peer_bars(), switch_bars(), nonsense_bars(), late_bars()}) {
    all.insert(all.end(), group.begin(), group.end());
  }
  return all;
}

}  // namespace bars
