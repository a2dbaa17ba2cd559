#include "tools/common/units.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace tools {

namespace {

struct unit_rule {
  std::string_view ending;
  std::string_view unit;
};

// The first rule that matches applies, so narrower rules come first. In the last segment "*power"
// also stands for "rxPower": names that end in a quantity have its unit.
constexpr std::array rules{
    unit_rule{"data/line/*/attenuation", "dB/km"},
    unit_rule{"data/line/*/remoteAttenuation", "dB/km"},
    unit_rule{"data/osc/attenuation", "dB/km"},
    unit_rule{"data/osc/remoteAttenuation", "dB/km"},
    // The parameter is a wanted power; the value of the same name is the resulting offset.
    unit_rule{"config/client/*/*/wantedPowerOffset", "dBm"},
    unit_rule{"wantedPowerOffset", "dB"},
    unit_rule{"insight/client/*/*/target", "dBm"},
    unit_rule{"insight/client/*/*/measured", "dBm"},
    unit_rule{"insight/client/*/*/error", "dB"},
    unit_rule{"insight/device/*/limit", "dBm"},
    unit_rule{"insight/device/*/saturation", "dB"},
    unit_rule{"age", "s"},
    unit_rule{"spanloss/*/*", "dB"},
    unit_rule{"spanlossReceive", "dB"},
    unit_rule{"dispersion/*/osc", "ps/nm"},
    unit_rule{"dispersion/*/tdcm", "ps/nm"},
    unit_rule{"dispersionOffset", "ps/nm"},
    unit_rule{"deadBand", "dB"},
    unit_rule{"headroomUp", "dB"},
    unit_rule{"headroomDown", "dB"},
    unit_rule{"plim", "dBm"},
    unit_rule{"powerLimit", "dBm"},
    unit_rule{"powerLevel", "dBm"},
    unit_rule{"*detectLevel", "dBm"},
    unit_rule{"edfaCalibration", "dB"},
    unit_rule{"edfaSaturation", "dB"},
    unit_rule{"gainDefault", "dB"},
    unit_rule{"gainMinThreshold", "dB"},
    unit_rule{"gainMaxThreshold", "dB"},
    unit_rule{"lmsStepSize", "dB"},
    unit_rule{"lmsError", "dB²"},
    unit_rule{"width", "GHz"},
    unit_rule{"waveLength", "nm"},
    unit_rule{"frequency", "x 10 MHz"},
    unit_rule{"*power", "dBm"},
    unit_rule{"*attenuation", "dB"},
    unit_rule{"*gain", "dB"},
    unit_rule{"*loss", "dB"},
    unit_rule{"*osnr", "dB"},
    unit_rule{"*length", "km"},
    unit_rule{"*dispersion", "ps/nm"},
    unit_rule{"*utilization", "%"},
};

/// Whether `name` is the quantity, or a compound of it such as "rxPower" of "power".
bool names_quantity(std::string_view name, std::string_view quantity) {
  if (name.size() < quantity.size()) return false;
  const auto tail = name.substr(name.size() - quantity.size());
  if (tail.size() == name.size()) return tail == quantity;
  return tail.front() == std::toupper(static_cast<unsigned char>(quantity.front())) &&
         tail.substr(1) == quantity.substr(1);
}

/// Removes the last segment from `path` and returns it.
std::string_view take_last(std::string_view& path) {
  const auto slash = path.rfind('/');
  const auto last = slash == std::string_view::npos ? path : path.substr(slash + 1);
  path = slash == std::string_view::npos ? std::string_view{} : path.substr(0, slash);
  return last;
}

}  // namespace

bool ends_like(std::string_view path, std::string_view ending) {
  while (!ending.empty()) {
    if (path.empty()) return false;
    const auto wanted = take_last(ending);
    const auto found = take_last(path);
    const bool is_quantity = wanted.starts_with('*') && wanted.size() > 1;
    if (is_quantity ? !names_quantity(found, wanted.substr(1)) : wanted != "*" && wanted != found)
      return false;
  }
  return true;
}

std::string_view unit_of(std::string_view path) {
  const auto* rule = std::find_if(rules.begin(), rules.end(), [path](const unit_rule& candidate) {
    return ends_like(path, candidate.ending);
  });
  return rule == rules.end() ? std::string_view{} : rule->unit;
}

}  // namespace tools
