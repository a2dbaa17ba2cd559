// Shared by the cases: nodes of a model and a seed, waits that return seconds, and where a channel
// may rest.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "models/model.h"
#include "tests/loops/bars/bar.h"
#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"

namespace bars {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;
using test::channel_watch;
using test::plant_node;

inline double seconds(nanoseconds time) {
  return std::chrono::duration<double>(time).count();
}

inline void require(bool holds, const char* text) {
  if (!holds) throw std::runtime_error(text);
}

sim::topology lit_topology(const std::string& model, std::uint64_t seed);
sim::topology dark_topology(const std::string& model, std::uint64_t seed);

/// Started, with its channels, 20 s ago.
std::unique_ptr<plant_node> started(const sim::topology& what);
/// Started dark, lit, at rest for ten minutes.
std::unique_ptr<plant_node> at_rest(const std::string& model, std::uint64_t seed);

/// After a restart, on the models whose channels then wait for their mode.
void write_modes(plant_node& node);

/// Seconds until the condition holds; `never` after `limit`.
double seconds_until(plant_node& node, const std::function<bool()>& condition, nanoseconds limit);

/// The same, from a jump of 3 dB of one client on.
double seconds_after_jump(plant_node& node, unsigned channel,
                          const std::function<bool()>& condition);

/// For the channel with the most of them.
double most_steps(const plant_node& node, const channel_watch& watch);

/// Within the dead band at its attenuation, and the monitor's noise at its edge.
bool rests(plant_node& node, unsigned channel);
bool all_rest(plant_node& node);
bool others_rest(plant_node& node, unsigned but);

/// The services that switch and measure: one on orva, two on selka.
std::vector<std::string> switch_devices(const std::string& model);
std::string switch_device(const std::string& model);
std::string monitor_device(const std::string& model);
/// Path patterns of a channel on the add side, "*" for all.
std::string attenuation_path(const std::string& model, const std::string& root,
                             const std::string& channel);
std::string power_path(const std::string& model, const std::string& channel, bool detected = false);

inline bool is_selka(const std::string& model) {
  return models::get(model).kin == models::family::selka;
}
inline bool has_voa(const std::string& model) {
  return models::get(model).has_line_voa;
}

}  // namespace bars
