#include "tools/common/units.h"

#include <algorithm>
#include <array>

namespace tools {

namespace {

struct unit_rule {
  std::string_view ending;
  std::string_view unit;
};

// The first rule that fits counts, so the narrower ones stand first.
constexpr std::array rules{
    unit_rule{"data/line/*/attenuation", "dB/km"},
    unit_rule{"data/line/*/remoteAttenuation", "dB/km"},
    unit_rule{"data/osc/attenuation", "dB/km"},
    unit_rule{"data/osc/remoteAttenuation", "dB/km"},
    // The parameter is the power that is wanted, the value beside it the offset that follows.
    unit_rule{"config/client/*/*/wantedPowerOffset", "dBm"},
    unit_rule{"wantedPowerOffset", "dB"},
    unit_rule{"insight/client/*/*/target", "dBm"},
    unit_rule{"insight/client/*/*/measured", "dBm"},
    unit_rule{"insight/client/*/*/error", "dB"},
    unit_rule{"insight/client/*/*/deadBand", "dB"},
    unit_rule{"insight/client/*/*/age", "s"},
    unit_rule{"insight/device/*/age", "s"},
    unit_rule{"insight/device/*/inputPower", "dBm"},
    unit_rule{"insight/device/*/outputPower", "dBm"},
    unit_rule{"insight/device/*/limit", "dBm"},
    unit_rule{"insight/device/*/saturation", "dB"},
    unit_rule{"headroomUp", "dB"},
    unit_rule{"headroomDown", "dB"},
    unit_rule{"fibreLength", "km"},
    unit_rule{"spanloss/*/*", "dB"},
    unit_rule{"spanlossReceive", "dB"},
    unit_rule{"dispersion/*/osc", "ps/nm"},
    unit_rule{"dispersion/*/tdcm", "ps/nm"},
    unit_rule{"insight/client/*/*/target", "dBm"},
    unit_rule{"insight/client/*/*/measured", "dBm"},
    unit_rule{"insight/client/*/*/error", "dB"},
    unit_rule{"deadBand", "dB"},
    unit_rule{"headroomUp", "dB"},
    unit_rule{"headroomDown", "dB"},
    unit_rule{"age", "s"},
    unit_rule{"power", "dBm"},
    unit_rule{"totalPower", "dBm"},
    unit_rule{"rxPower", "dBm"},
    unit_rule{"txPower", "dBm"},
    unit_rule{"remotePower", "dBm"},
    unit_rule{"remoteRxPower", "dBm"},
    unit_rule{"remoteTxPower", "dBm"},
    unit_rule{"targetPower", "dBm"},
    unit_rule{"remoteTargetPower", "dBm"},
    unit_rule{"targetOutputPower", "dBm"},
    unit_rule{"lineTxPower", "dBm"},
    unit_rule{"powerLimit", "dBm"},
    unit_rule{"plim", "dBm"},
    unit_rule{"powerLevel", "dBm"},
    unit_rule{"detectLevel", "dBm"},
    unit_rule{"channelDetectLevel", "dBm"},
    unit_rule{"attenuation", "dB"},
    unit_rule{"defaultAttenuation", "dB"},
    unit_rule{"edfaCalibration", "dB"},
    unit_rule{"edfaSaturation", "dB"},
    unit_rule{"gain", "dB"},
    unit_rule{"actualGain", "dB"},
    unit_rule{"gainDefault", "dB"},
    unit_rule{"gainMinThreshold", "dB"},
    unit_rule{"gainMaxThreshold", "dB"},
    unit_rule{"insertionLoss", "dB"},
    unit_rule{"insight/device/*/inputPower", "dBm"},
    unit_rule{"insight/device/*/outputPower", "dBm"},
    unit_rule{"insight/device/*/limit", "dBm"},
    unit_rule{"insight/device/*/saturation", "dB"},
    unit_rule{"fibreLength", "km"},
    unit_rule{"loss", "dB"},
    unit_rule{"remoteLoss", "dB"},
    unit_rule{"osnr", "dB"},
    unit_rule{"remoteOsnr", "dB"},
    unit_rule{"lmsStepSize", "dB"},
    unit_rule{"lmsError", "dB²"},
    unit_rule{"length", "km"},
    unit_rule{"remoteLength", "km"},
    unit_rule{"fiberLength", "km"},
    unit_rule{"dispersion", "ps/nm"},
    unit_rule{"remoteDispersion", "ps/nm"},
    unit_rule{"fiberDispersion", "ps/nm"},
    unit_rule{"finalDispersion", "ps/nm"},
    unit_rule{"currentDispersion", "ps/nm"},
    unit_rule{"dispersionOffset", "ps/nm"},
    unit_rule{"width", "GHz"},
    unit_rule{"waveLength", "nm"},
    unit_rule{"frequency", "x 10 MHz"},
    unit_rule{"utilization", "%"},
    unit_rule{"remoteUtilization", "%"},
};

/// Cuts the last segment off `path` and gives it.
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
    if (wanted != "*" && wanted != found) return false;
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
