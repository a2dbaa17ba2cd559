// How the regulation is measured: each bar is a case that happens to a node on the simulated plant,
// its resulting figures, and their upper limits. A program prints them for every model; a
// measurement throws if the case cannot be brought about.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace bars {

/// A figure that is shown but not limited.
inline constexpr double any = std::numeric_limits<double>::infinity();
/// Used for a time if the awaited event did not happen.
inline constexpr double never = 999.0;

struct limit {
  const char* what;  ///< with its unit
  double at_most;
};

using figures = std::vector<double>;  ///< in the order of the bar's limits

struct bar {
  const char* name;
  const char* text;
  std::vector<limit> limits;
  std::vector<std::string> models;
  figures (*measure)(const std::string& model, std::uint64_t seed);
};

/// Each file of cases adds its own.
std::vector<bar> client_bars();
std::vector<bar> rest_bars();
std::vector<bar> phase_bars();
std::vector<bar> switch_bars();
std::vector<bar> nonsense_bars();
std::vector<bar> late_bars();
std::vector<bar> line_bars();
std::vector<bar> peer_bars();
std::vector<bar> truth_bars();

inline const std::vector<std::string> all_models{"orvalite",  "orvamax",  "orvapro",
                                                 "orvakinet", "selkamin", "selkaplus"};
/// Models whose attenuator follows the far preamp in a closed loop.
inline const std::vector<std::string> line_models{"orvalite", "orvamax", "orvapro"};
inline const std::vector<std::string> orva_models{"orvalite", "orvamax", "orvapro", "orvakinet"};
inline const std::vector<std::string> selka_models{"selkamin", "selkaplus"};

}  // namespace bars
