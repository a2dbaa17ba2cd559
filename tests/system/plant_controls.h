// The control tree of the simulated devices, as used by a test of one node: breaks things, and
// reads the true light. One connection per call, so that it survives a restart of the devices.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace test {

class plant_controls {
 public:
  /// `root` is the folder that the node runs below, or the near one of the two.
  explicit plant_controls(const std::string& root, unsigned node = 0);

  /// The matches of a pattern that are numbers. Throws nx_client_exception, as all others here.
  std::map<std::string, double> numbers(const std::string& pattern) const;
  double number(const std::string& path) const { return numbers(path).at(path); }
  void set(const std::string& path, const std::string& value) const;

  /// "ok", "hung" or "killed"; returns once the device behaves so.
  void set_device(const std::string& name, const std::string& state) const;
  /// Changes the power of a channel's laser at once, dB.
  void disturb(const std::string& channel, double db) const;

  std::vector<std::string> channels() const;
  /// Attenuations of the switch by path, both sides, dB.
  std::map<std::string, double> attenuations() const;
  /// Accepted attenuation writes to the switch, both sides.
  double switch_writes() const;
  /// True error of a channel at the booster's output, dB.
  double error(const std::string& channel) const;
  /// The channels whose true error is larger than `within_db`, as a text for a failing test.
  std::string off_target(double within_db) const;

 private:
  bool behaves(const std::string& device, const std::string& state) const;

  /// Of the node's own subtree below "config", "counters" or "truth".
  std::string own(const std::string& top, const std::string& path) const;

  unsigned node_;
  std::string controls_;  // socket of the control tree
  std::string folder_;    // of the node's devices
};

/// How far from its target a channel may rest, dB: the dead band, 0.55 at the attenuation of one
/// that was 2 dB too strong, with the noise of the monitor and the repeatability of the switch.
constexpr double rest_db = 0.8;
/// A channel whose error has just left the dead band may take a step whatever else goes on.
constexpr double one_step_db = 0.7;
/// Between two looks at the same attenuations, dB.
double largest_change(const std::map<std::string, double>& before,
                      const std::map<std::string, double>& after);

}  // namespace test
