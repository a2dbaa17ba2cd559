// What a tool has read in one look: paths with their values, from the daemon's tree, the devices
// and the simulated plant alike. Plain data, so that views and diagnoses can be computed and tested
// without any of them.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/wire/json.h"

namespace tools {

class readings {
 public:
  using value = std::variant<double, bool, std::string>;

  void put(const std::string& path, value read) { values_[path] = std::move(read); }
  /// Adds the members of an answer to `get`, objects and arrays as text; values in error are left
  /// out.
  void put_all(const nx::json_value& members, const std::string& prefix = "");

  /// Empty if the path was not read, or has another type.
  std::optional<double> number(const std::string& path) const;
  std::optional<bool> flag(const std::string& path) const;
  std::optional<std::string> text(const std::string& path) const;

  bool has(const std::string& path) const { return values_.count(path) > 0; }
  /// In ascending order.
  std::vector<std::string> paths_below(const std::string& prefix) const;
  /// The numbers N, ascending, of all paths of the form `before` N `after`.
  std::vector<unsigned> numbered(const std::string& before, const std::string& after) const;

 private:
  std::map<std::string, value> values_;
};

}  // namespace tools
