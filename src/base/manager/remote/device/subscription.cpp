#include "base/manager/remote/device/subscription.h"

#include <fmt/format.h>

#include "base/manager/remote/client.h"

namespace manager::remote::device {

namespace {

using enum value_kind;
using enum offered_by;

constexpr subscription line_paths[] = {
    {number, "data/line/1/tx/totalPower"},
    {number, "data/line/1/rx/totalPower"},
    {number, "data/client/tx/edfaCalibration", orva_alone},
    {number, "data/client/tx/edfaSaturation", orva_alone},
    {number, "data/system/utilization"},
    {number, "data/preamp/gainDefault"},
    {number, "data/preamp/plim"},
    {number, "data/preamp/gain"},
    {number, "data/line/1/tx/power"},
    {number, "data/line/1/rx/power"},
    {number, "interface/line/1/data/length"},
    {number, "interface/line/1/data/osc/tx/power"},
    {number, "interface/line/1/data/osc/rx/power"},
    {number, "interface/line/1/data/osc/attenuation"},
    {number, "interface/line/1/data/osc/loss"},
    {number, "interface/line/1/data/dispersion"},
    {number, "data/line/1/rx/targetPower", orva_alone},
    {number, "data/client/rx/targetPower", orva_alone},
    {text, "interface/line/1/data/hostname"},
    {text, "interface/line/1/data/osc/rx/interfaceName"},
    {text, "interface/line/1/data/osc/tx/interfaceName"},
};

constexpr subscription channel_paths[] = {
    {truth, "data/client/{}/tx/peak"},
    {number, "data/client/{}/tx/ocm/power"},
    {number, "data/client/{}/tx/osnr", orva_alone},
    {number, "data/client/{}/tx/power"},
    {number, "data/client/{}/rx/power"},
    {text, "data/client/{}/tx/status"},
    {text, "data/client/{}/rx/status"},
};

constexpr subscription dispersion_rows[] = {
    {text, "local/interface/line/1/data/dispersion/rx/fiberType"},
    {number, "local/interface/line/1/data/dispersion/rx/tdcm"},
    {number, "local/interface/line/1/data/dispersion/rx/finalDispersion"},
    {number, "local/interface/line/1/data/dispersion/rx/dispersionOffset"},
};

constexpr subscription tarn_rows[] = {
    {number, "data/neighbour/edfa/rx/power"},
    {number, "data/line/1/rx/osc/power"},
    {number, "data/line/1/tx/power"},
    {number, "data/line/1/tx/totalPower"},
    {number, "data/line/1/rx/totalPower"},
    {number, "data/line/1/tx/osc/power"},
    {number, "osc/2/data/fiberDispersion"},
    {number, "interface/line/1/data/osc/loss"},
    {number, "interface/line/1/data/osc/attenuation"},
    {number, "osc/2/data/fiberLength"},
    {text, "interface/line/1/data/osc/rx/interfaceName"},
    {text, "interface/line/1/data/osc/tx/interfaceName"},
    {number, "data/spanloss/ots/tx"},
    {number, "data/spanloss/ots/rx"},
    {number, "data/spanloss/oms/tx"},
    {number, "data/spanloss/oms/rx"},
    {text, "data/spanloss/section"},
    {number, "data/neighbour/edfa/minGain"},
    {text, "interface/line/1/data/hostname"},
};

bool offers(family peer, const subscription& entry) {
  return entry.who == all || peer == family::orva;
}

void subscribe_one(manager::remote::client& client, ::device::subscriber& values, value_kind kind,
                   const std::string& path) {
  switch (kind) {
    case number:
      return client.subscribe<float>(values, path);
    case truth:
      return client.subscribe<bool>(values, path);
    case value_kind::text:
      return client.subscribe<std::string>(values, path);
  }
}

}  // namespace

const std::span<const subscription> terminal_line_paths{line_paths};
const std::span<const subscription> terminal_channel_paths{channel_paths};
const std::span<const subscription> dispersion_paths{dispersion_rows};
const std::span<const subscription> tarn_line_paths{tarn_rows};

void subscribe_all(manager::remote::client& client, ::device::subscriber& values,
                   std::span<const subscription> list, family peer) {
  for (const auto& entry : list) {
    if (offers(peer, entry)) subscribe_one(client, values, entry.kind, entry.path);
  }
}

void subscribe_all(manager::remote::client& client, ::device::subscriber& values,
                   std::span<const subscription> list, family peer, unsigned id) {
  for (const auto& entry : list) {
    if (!offers(peer, entry)) continue;
    subscribe_one(client, values, entry.kind, fmt::format(fmt::runtime(entry.path), id));
  }
}

}  // namespace manager::remote::device
