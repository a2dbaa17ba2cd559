#include "base/manager/remote/device/subscription.h"

#include <fmt/format.h>

namespace manager::remote::device {

namespace {

using enum ::device::value_type;
using enum ::device::reading_kind;
using enum offered_by;

constexpr subscription line_paths[] = {
    {number, "data/line/1/tx/totalPower", tap_power},
    {number, "data/line/1/rx/totalPower", tap_power},
    {number, "data/client/tx/edfaCalibration", calibration, orva_alone},
    {number, "data/client/tx/edfaSaturation", saturation, orva_alone},
    {number, "data/system/utilization", utilization},
    {number, "data/preamp/gainDefault", gain},
    {number, "data/preamp/plim", power_limit},
    {number, "data/preamp/gain", gain},
    {number, "data/line/1/tx/power", tap_power},
    {number, "data/line/1/rx/power", tap_power},
    {number, "interface/line/1/data/length", fibre_length},
    {number, "interface/line/1/data/osc/tx/power", osc_power},
    {number, "interface/line/1/data/osc/rx/power", osc_power},
    {number, "interface/line/1/data/osc/attenuation", loss_per_length},
    {number, "interface/line/1/data/osc/loss", osc_loss},
    {number, "interface/line/1/data/dispersion", dispersion},
    {number, "data/line/1/rx/targetPower", target_power, orva_alone},
    {number, "data/client/rx/targetPower", target_power, orva_alone},
    {text, "interface/line/1/data/hostname"},
    {text, "interface/line/1/data/osc/rx/interfaceName"},
    {text, "interface/line/1/data/osc/tx/interfaceName"},
};

constexpr subscription channel_rows[] = {
    {truth, "data/client/{}/tx/peak"},
    {number, "data/client/{}/tx/ocm/power", channel_power},
    {number, "data/client/{}/tx/osnr", osnr, orva_alone},
    {number, "data/client/{}/tx/power", tap_power},
    {number, "data/client/{}/rx/power", tap_power},
    {text, "data/client/{}/tx/status"},
    {text, "data/client/{}/rx/status"},
};

constexpr subscription dispersion_rows[] = {
    {text, "local/interface/line/1/data/dispersion/rx/fiberType"},
    {number, "local/interface/line/1/data/dispersion/rx/tdcm", dispersion},
    {number, "local/interface/line/1/data/dispersion/rx/finalDispersion", dispersion},
    {number, "local/interface/line/1/data/dispersion/rx/dispersionOffset", dispersion_offset},
};

constexpr subscription tarn_rows[] = {
    {number, "data/neighbour/edfa/rx/power", tap_power},
    {number, "data/line/1/rx/osc/power", osc_power},
    {number, "data/line/1/tx/power", tap_power},
    {number, "data/line/1/tx/totalPower", tap_power},
    {number, "data/line/1/rx/totalPower", tap_power},
    {number, "data/line/1/tx/osc/power", osc_power},
    {number, "osc/2/data/fiberDispersion", dispersion},
    {number, "interface/line/1/data/osc/loss", osc_loss},
    {number, "interface/line/1/data/osc/attenuation", loss_per_length},
    {number, "osc/2/data/fiberLength", fibre_length},
    {text, "interface/line/1/data/osc/rx/interfaceName"},
    {text, "interface/line/1/data/osc/tx/interfaceName"},
    {number, "data/spanloss/ots/tx", span_loss},
    {number, "data/spanloss/ots/rx", span_loss},
    {number, "data/spanloss/oms/tx", span_loss},
    {number, "data/spanloss/oms/rx", span_loss},
    {text, "data/spanloss/section"},
    {number, "data/neighbour/edfa/minGain", gain},
    {text, "interface/line/1/data/hostname"},
};

template <class... Placeholder>
std::vector<::device::wanted_path> paths_of(std::span<const subscription> list, family peer,
                                            const Placeholder&... placeholder) {
  std::vector<::device::wanted_path> paths;
  for (const auto& entry : list) {
    if (entry.who != all && peer != family::orva) continue;
    paths.push_back(
        {entry.type, fmt::format(fmt::runtime(entry.path), placeholder...), entry.kind});
  }
  return paths;
}

}  // namespace

const std::span<const subscription> terminal_line_paths{line_paths};
const std::span<const subscription> terminal_channel_paths{channel_rows};
const std::span<const subscription> dispersion_paths{dispersion_rows};
const std::span<const subscription> tarn_line_paths{tarn_rows};

std::vector<::device::wanted_path> offered_paths(std::span<const subscription> list, family peer) {
  return paths_of(list, peer);
}

std::vector<::device::wanted_path> offered_paths(std::span<const subscription> list, family peer,
                                                 unsigned id) {
  return paths_of(list, peer, id);
}

}  // namespace manager::remote::device
