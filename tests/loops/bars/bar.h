// How the regulation is measured: each bar is a case that happens to a node on the simulated plant,
// its resulting figures, and their upper limits. A test holds models to them, and a program prints
// the figures of every model; a measurement throws if the case cannot be brought about, or if what
// has no figure goes wrong.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace bars {

/// A figure that is shown but not limited.
inline constexpr double any = std::numeric_limits<double>::infinity();
/// Figures of float arithmetic, printed with two digits.
inline constexpr double rounding = 0.005;
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

std::vector<bar> all_bars();

/// The limit for a model. Where the control law itself misses a bar, that is its worst figure:
/// docs/control.md says why, and any worse figure is a fault. With the rounding.
double limit_for(const bar& of, const limit& figure, const std::string& model);

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
inline const std::vector<std::string> selka_models{"selkamin", "selkaplus"};

}  // namespace bars
