#include "tools/common/accepted.h"

#include "tools/common/units.h"

namespace tools {

namespace {

struct accepted_rule {
  std::string_view ending;
  accepted_values values;
};

constexpr std::array rules{
    accepted_rule{"config/client/*/*/wantedPowerOffset", {-2.0, 12.0}},
    accepted_rule{"config/client/*/*/adminStatus", {.words = {"up", "down"}}},
    accepted_rule{"config/client/*/*/opticalControlMode", {.words = {"power", "gainLoss", "off"}}},
    accepted_rule{"config/automationMode",
                  {.words = {"managedCLI", "managedNetconf", "embedded", "bright", "dark"}}},
    accepted_rule{"debug/loglevel", {.words = {"normal", "verbose", "debug"}}},
};

}  // namespace

std::optional<accepted_values> accepted_at(std::string_view path) {
  for (const auto& rule : rules) {
    if (ends_like(path, rule.ending)) return rule.values;
  }
  return std::nullopt;
}

}  // namespace tools
