// The values that the line publishes: path, source and interval on one line, in the order in which
// they are created.
#include "base/insight/news.h"
#include "base/manager/loops/line_loop.h"

namespace manager::loops {

struct line_values {
  struct limits {
    double immediate;
    double delayed;
  };
  static constexpr limits coarse{1, 0.2};
  static constexpr limits fine{0.1, 0.01};

  /// Interval in seconds: 1 for values used in regulation, 3 and 5 for slow ones.
  struct row {
    const char* path;
    void (*create)(nx_db& db, line_loop& owner, const row& what);
    unsigned interval;
  };

  template <auto Getter, class... Bound>
  static void add_polled(nx_db& db, line_loop& owner, const row& what, Bound... bound) {
    owner.values_->add_value(
        nx::api::polled_value<Getter>::create(db, what.path, owner.shared_from_this(), bound...),
        what.interval);
  }

  template <auto Getter>
  static void polled(nx_db& db, line_loop& owner, const row& what) {
    add_polled<Getter>(db, owner, what);
  }
  template <auto Getter>
  static void polled_rx(nx_db& db, line_loop& owner, const row& what) {
    add_polled<Getter>(db, owner, what, "rx");
  }
  template <auto Getter>
  static void polled_tx(nx_db& db, line_loop& owner, const row& what) {
    add_polled<Getter>(db, owner, what, "tx");
  }

  // Held by the loop and in no group: every push that differs by more than the smaller limit is
  // published at once.
  template <auto Member, const limits* Limits>
  static void pushed(nx_db& db, line_loop& owner, const row& what) {
    owner.*Member =
        nx::api::pushed_value<float>::create(db, what.path, Limits->immediate, Limits->delayed);
  }
  template <measured_spans::span Which>
  static void span(nx_db& db, line_loop& owner, const row& what) {
    owner.spans_.values_[Which] =
        nx::api::pushed_value<float>::create(db, what.path, fine.immediate, fine.delayed);
  }
  static void section(nx_db& db, line_loop& owner, const row& what) {
    owner.spans_.section_value_ =
        nx::api::status_value<std::string>::create(db, what.path, "na", 1);
  }

  // Computed when somebody reads it, and refreshed at the end of a cycle.
  template <auto Getter>
  static void lazy(nx_db& db, line_loop& owner, const row& what) {
    owner.insight_values_.push_back(
        nx::api::lazy_value<Getter>::create(db, what.path, owner.shared_from_this()));
  }

  template <auto Getter>
  static void sentence(nx_db& db, line_loop& owner, const row& what) {
    owner.insight_values_.push_back(
        ::insight::told_value<Getter>(db, what.path, owner.shared_from_this()));
  }

  static const row table[];
  static void create_all(nx_db& db, line_loop& owner);
};

// clang-format off
const line_values::row line_values::table[] = {
    {"data/line/lmsError", pushed<&line_loop::lms_error_value_, &coarse>, 0},
    {"data/line/lmsStepSize", polled<&line_loop::get_lms_step_size>, 1},
    {"data/preamp/gain", polled<&line_loop::get_preamp_gain>, 1},
    {"data/preamp/gainDefault", polled<&line_loop::get_preamp_default_gain>, 1},
    {"data/preamp/plim", polled<&line_loop::get_preamp_power_limit>, 1},
    {"data/line/1/rx/power", polled<&line_loop::get_line_rx_signal_power>, 1},
    {"data/line/1/tx/power", polled<&line_loop::get_line_tx_signal_power>, 1},
    {"data/line/1/rx/totalPower", polled<&line_loop::get_line_rx_total_power>, 1},
    {"data/line/1/tx/totalPower", polled<&line_loop::get_line_tx_total_power>, 1},
    {"data/line/1/rx/status", polled<&line_loop::get_line_rx_status>, 1},
    {"data/line/1/tx/status", polled<&line_loop::get_line_tx_status>, 1},
    {"interface/line/1/data/hostname", polled<&line_loop::get_local_hostname>, 3},
    {"data/line/1/remoteUtilization", polled<&line_loop::get_remote_utilization>, 1},
    {"data/line/1/rx/remoteTxPower", polled<&line_loop::get_remote_line_tx_total_power>, 1},
    {"data/line/1/tx/remoteRxPower", polled<&line_loop::get_remote_line_rx_total_power>, 1},
    {"interface/line/1/data/osc/rx/remotePower", polled<&line_loop::get_remote_osc_rx_power>, 1},
    {"interface/line/1/data/osc/tx/remotePower", polled<&line_loop::get_remote_osc_tx_power>, 1},
    {"interface/line/1/data/osc/remoteAttenuation", polled<&line_loop::get_remote_osc_attenuation>, 5},
    {"data/line/1/remoteAttenuation", polled<&line_loop::get_remote_total_attenuation>, 5},
    {"interface/line/1/data/osc/remoteLoss", polled<&line_loop::get_remote_osc_loss>, 5},
    {"interface/line/1/data/osc/attenuation", polled<&line_loop::get_osc_tx_attenuation>, 5},
    {"data/line/1/attenuation", polled<&line_loop::get_total_attenuation_per_kilometer>, 5},
    {"interface/line/1/data/dispersion", polled<&line_loop::get_osc_dispersion>, 5},
    {"interface/line/1/data/remoteDispersion", polled<&line_loop::get_remote_osc_dispersion>, 5},
    {"interface/line/1/data/osc/rx/interfaceName", polled_rx<&line_loop::get_line_interface_name>, 5},
    {"interface/line/1/data/osc/tx/interfaceName", polled_tx<&line_loop::get_line_interface_name>, 5},
    // Crossed: the peer's transmitter faces this node's receiver.
    {"interface/line/1/data/osc/rx/remoteInterfaceName", polled_tx<&line_loop::get_remote_line_interface_name>, 5},
    {"interface/line/1/data/osc/tx/remoteInterfaceName", polled_rx<&line_loop::get_remote_line_interface_name>, 5},
    {"data/line/1/rx/loss", polled<&line_loop::get_line_rx_loss>, 1},
    {"data/line/1/tx/loss", polled<&line_loop::get_line_tx_loss>, 1},
    {"interface/line/1/data/osc/loss", polled<&line_loop::get_osc_tx_loss>, 1},
    {"config/line/1/tx/voaPresetSettings", polled<&line_loop::get_voa_preset_settings>, 1},
    {"data/line/1/rx/osc/loss", polled<&line_loop::get_osc_rx_loss>, 1},
    {"data/line/1/rx/targetPower", polled<&line_loop::get_wanted_power>, 1},
    {"data/line/1/rx/remoteTargetPower", polled<&line_loop::get_remote_wanted_power>, 1},
    {"interface/line/1/remote/spanloss/oms/rx", span<measured_spans::oms_rx>, 0},
    {"interface/line/1/remote/spanloss/oms/tx", span<measured_spans::oms_tx>, 0},
    {"interface/line/1/remote/spanloss/ots/rx", span<measured_spans::ots_rx>, 0},
    {"interface/line/1/remote/spanloss/ots/tx", span<measured_spans::ots_tx>, 0},
    {"interface/line/1/remote/spanloss/section", section, 0},
    {"data/spanloss/oms/tx", pushed<&line_loop::spanloss_oms_tx_, &fine>, 0},
    {"data/spanloss/oms/rx", pushed<&line_loop::spanloss_oms_rx_, &fine>, 0},
    {"data/spanloss/ots/tx", pushed<&line_loop::spanloss_ots_tx_, &fine>, 0},
    {"data/spanloss/ots/rx", pushed<&line_loop::spanloss_ots_rx_, &fine>, 0},
    {"interface/line/1/data/osc/rx/power", polled<&line_loop::get_osc_rx_power>, 1},
    {"data/line/1/rx/osc/power", polled<&line_loop::get_osc_rx_power>, 1},
    {"data/line/1/tx/osc/power", polled<&line_loop::get_osc_tx_power>, 1},
    {"interface/line/1/data/osc/tx/power", polled<&line_loop::get_osc_tx_power>, 1},
    {"data/line/1/remoteHostname", polled<&line_loop::get_remote_hostname>, 1},
    {"interface/line/1/data/remoteHostname", polled<&line_loop::get_remote_hostname>, 1},
    {"data/line/1/rx/length", polled<&line_loop::get_line_rx_fiber_length>, 1},
    {"interface/line/1/data/length", polled<&line_loop::get_line_rx_fiber_length>, 1},
    {"data/line/1/tx/length", polled<&line_loop::get_line_tx_fiber_length>, 1},
    {"interface/line/1/data/remoteLength", polled<&line_loop::get_line_tx_fiber_length>, 1},
    {"data/line/1/tx/osc/loss", polled<&line_loop::get_osc_tx_loss>, 1},
    {"insight/line/state", lazy<&line_loop::get_state>, 0},
    {"insight/line/why", sentence<&line_loop::get_why>, 0},
    {"insight/line/headroomUp", lazy<&line_loop::get_headroom_up>, 0},
    {"insight/line/headroomDown", lazy<&line_loop::get_headroom_down>, 0},
    {"insight/line/steps", lazy<&line_loop::get_steps>, 0},
    {"insight/line/stepsLastHour", lazy<&line_loop::get_steps_last_hour>, 0},
};
// clang-format on

void line_values::create_all(nx_db& db, line_loop& owner) {
  for (const auto& entry : table)
    entry.create(db, owner, entry);
}

void line_loop::setup_api(nx_db& db) {
  line_values::create_all(db, *this);
}

}  // namespace manager::loops
