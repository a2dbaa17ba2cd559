// Where each value of a peer stands in the tree of each product family: one row an operation, so
// that the whole can be checked by eye.
#pragma once

#include <array>
#include <cstddef>
#include <variant>

namespace manager::remote::device {

enum class family { orva, selka, tarn, unknown };

/// One for each getter of `interface`, in its order.
enum class operation {
  get_hostname,
  get_fiber_length,
  get_utilization,
  get_line_tx_total_power,
  get_line_rx_total_power,
  get_line_tx_power,
  get_line_rx_power,
  get_line_target_power,
  get_client_target_power,
  get_line_interface_name,
  get_dispersion,
  get_osc_loss,
  get_osc_attenuation,
  get_osc_tx_power,
  get_osc_rx_power,
  get_preamp_power_limit,
  get_preamp_gain,
  get_edfa_tx_saturation,
  get_edfa_tx_calibration,
  get_preamp_default_gain,
  get_channel_rx_status,
  get_channel_tx_status,
  get_channel_osnr,
  get_channel_tx_peak,
  get_channel_tx_ocm_power,
  get_channel_rx_power,
  get_channel_tx_power,
  get_spanloss_section,
  get_ots_spanloss_tx,
  get_ots_spanloss_rx,
  get_oms_spanloss_tx,
  get_oms_spanloss_rx,
  is_embedded_ila,
  get_channel_detection_level,
  has_osnr,
  get_tdcm_dispersion,
  get_final_dispersion,
  get_fiber_type,
  get_tdcm_offset,
  count
};

/// Read from the subscription cache; "{}" takes a channel identifier or a direction.
struct path {
  const char* text;
};
/// Thrown as nx_error -22.
struct refusal {
  const char* text;
};
/// The constant answer of a family without such a value.
struct text {
  const char* value;
};
/// The cell of another family in the same row.
struct same_as {
  family other;
};

using cell = std::variant<path, refusal, text, float, bool, same_as>;

struct row {
  operation what;
  cell orva;
  cell selka;
  cell tarn;
  cell unknown;
};

using value_table = std::array<row, static_cast<std::size_t>(operation::count)>;

/// What an operation gives with a family; never a `same_as`.
const cell& cell_of(operation what, family peer);

}  // namespace manager::remote::device
