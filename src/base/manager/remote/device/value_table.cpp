#include "base/manager/remote/device/value_table.h"

#include <algorithm>

namespace manager::remote::device {

namespace {

constexpr same_as as_orva{family::orva};
constexpr same_as as_selka{family::selka};

// clang-format off
constexpr value_table table{{
    //                                orva, selka, tarn, unknown
    {operation::get_hostname,
     path{"interface/line/1/data/hostname"}, as_orva, as_orva, text{"n/a"}},
    {operation::get_fiber_length,
     path{"interface/line/1/data/length"}, as_orva, path{"osc/2/data/fiberLength"}, 0.0f},
    {operation::get_utilization,
     path{"data/system/utilization"}, as_orva, refusal{"Utilization not supported in remote end."},
     0.0f},
    {operation::get_line_tx_total_power, path{"data/line/1/tx/totalPower"}, as_orva, as_orva, 0.0f},
    {operation::get_line_rx_total_power, path{"data/line/1/rx/totalPower"}, as_orva, as_orva, 0.0f},
    {operation::get_line_tx_power, path{"data/line/1/tx/power"}, as_orva, as_orva, 0.0f},
    {operation::get_line_rx_power,
     path{"data/line/1/rx/power"}, as_orva, path{"data/neighbour/edfa/rx/power"}, 0.0f},
    {operation::get_line_target_power,
     path{"data/line/1/rx/targetPower"},
     refusal{"get_line_target_power() not supported in remote end"}, as_selka, 0.0f},
    {operation::get_client_target_power,
     path{"data/client/rx/targetPower"},
     refusal{"get_client_target_power() not supported in remote end"}, as_selka, 0.0f},
    {operation::get_line_interface_name,
     path{"interface/line/1/data/osc/{}/interfaceName"}, as_orva, as_orva, text{"n/a"}},
    {operation::get_dispersion,
     path{"interface/line/1/data/dispersion"}, as_orva, path{"osc/2/data/fiberDispersion"}, 0.0f},
    {operation::get_osc_loss, path{"interface/line/1/data/osc/loss"}, as_orva, as_orva, 0.0f},
    {operation::get_osc_attenuation,
     path{"interface/line/1/data/osc/attenuation"}, as_orva, as_orva, 0.0f},
    {operation::get_osc_tx_power,
     path{"interface/line/1/data/osc/tx/power"}, as_orva, path{"data/line/1/tx/osc/power"}, 0.0f},
    {operation::get_osc_rx_power,
     path{"interface/line/1/data/osc/rx/power"}, as_orva, path{"data/line/1/rx/osc/power"}, 0.0f},
    {operation::get_preamp_power_limit,
     path{"data/preamp/plim"}, as_orva,
     refusal{"Preamp power limit not implemented in remote end."}, 0.0f},
    {operation::get_preamp_gain,
     path{"data/preamp/gain"}, as_orva,
     refusal{"Preamp power limit not implemented in remote end."}, 0.0f},
    {operation::get_edfa_tx_saturation,
     path{"data/client/tx/edfaSaturation"},
     refusal{"Edfa tx saturation not supported in remote end"},
     refusal{"Edfa tx saturation not implemented in remote end."}, 0.0f},
    {operation::get_edfa_tx_calibration,
     path{"data/client/tx/edfaCalibration"},
     refusal{"Edfa tx calibration not supported in remote end"},
     refusal{"Edfa tx calibration not implemented in remote end."}, 0.0f},
    {operation::get_preamp_default_gain,
     path{"data/preamp/gainDefault"}, as_orva, path{"data/neighbour/edfa/minGain"}, 0.0f},
    {operation::get_channel_rx_status,
     path{"data/client/{}/rx/status"}, as_orva,
     refusal{"Channel rx status not implemented in remote end."}, text{"n/a"}},
    {operation::get_channel_tx_status,
     path{"data/client/{}/tx/status"}, as_orva,
     refusal{"Channel tx status not implemented in remote end."}, text{"n/a"}},
    {operation::get_channel_osnr,
     path{"data/client/{}/tx/osnr"}, refusal{"Channel OSNR not supported in remote end"}, as_selka,
     0.0f},
    {operation::get_channel_tx_peak,
     path{"data/client/{}/tx/peak"}, as_orva,
     refusal{"Channel tx peak not implemented in remote end."}, 0.0f},
    {operation::get_channel_tx_ocm_power,
     path{"data/client/{}/tx/ocm/power"}, as_orva,
     refusal{"Channel tx ocm power not implemented in remote end."}, 0.0f},
    {operation::get_channel_rx_power,
     path{"data/client/{}/rx/power"}, as_orva,
     refusal{"Channel rx power not implemented in remote end."}, 0.0f},
    {operation::get_channel_tx_power,
     path{"data/client/{}/tx/power"}, as_orva,
     refusal{"Channel tx power not implemented in remote end."}, 0.0f},
    {operation::get_spanloss_section,
     text{"na"}, text{"na"}, path{"data/spanloss/section"}, text{"na"}},
    {operation::get_ots_spanloss_tx,
     refusal{"OTS spanloss tx is not fetched from other end."}, as_orva,
     path{"data/spanloss/ots/tx"}, 0.0f},
    {operation::get_ots_spanloss_rx,
     refusal{"OTS spanloss rx is not fetched from other end."}, as_orva,
     path{"data/spanloss/ots/rx"}, 0.0f},
    {operation::get_oms_spanloss_tx,
     refusal{"OMS spanloss tx is not fetched from other end."}, as_orva,
     path{"data/spanloss/oms/tx"}, 0.0f},
    {operation::get_oms_spanloss_rx,
     refusal{"OMS spanloss rx is not fetched from other end."}, as_orva,
     path{"data/spanloss/oms/rx"}, 0.0f},
    {operation::is_embedded_ila, false, false, true, false},
    {operation::get_channel_detection_level, -32.0f, refusal{"Not implemented"}, -26.0f, -26.0f},
    {operation::has_osnr, true, false, false, false},
    {operation::get_tdcm_dispersion,
     path{"local/interface/line/1/data/dispersion/rx/tdcm"},
     refusal{"TDCM dispersion not implemented in remote end."}, as_selka, 0.0f},
    {operation::get_final_dispersion,
     path{"local/interface/line/1/data/dispersion/rx/finalDispersion"},
     refusal{"Final dispersion not implemented in remote end."}, as_selka, 0.0f},
    {operation::get_fiber_type,
     path{"local/interface/line/1/data/dispersion/rx/fiberType"},
     refusal{"Fiber type not implemented in remote end."}, as_selka, text{"n/a"}},
    {operation::get_tdcm_offset,
     path{"local/interface/line/1/data/dispersion/rx/dispersionOffset"},
     refusal{"TDCM offset not implemented in remote end."}, as_selka, 0.0f},
}};
// clang-format on

constexpr bool is_in_order() {
  std::size_t index = 0;
  return std::all_of(table.begin(), table.end(), [&index](const row& entry) {
    return static_cast<std::size_t>(entry.what) == index++;
  });
}
static_assert(is_in_order(), "rows are found by the number of their operation");

const cell& cell_in(const row& entry, family peer) {
  switch (peer) {
    case family::orva:
      return entry.orva;
    case family::selka:
      return entry.selka;
    case family::tarn:
      return entry.tarn;
    case family::unknown:
      break;
  }
  return entry.unknown;
}

}  // namespace

const cell& cell_of(operation what, family peer) {
  const auto& entry = table[static_cast<std::size_t>(what)];
  const auto* found = &cell_in(entry, peer);
  while (const auto* reference = std::get_if<same_as>(found)) {
    found = &cell_in(entry, reference->other);
  }
  return *found;
}

}  // namespace manager::remote::device
