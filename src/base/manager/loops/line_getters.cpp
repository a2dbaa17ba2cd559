// The getters of the line's values: readings converted from a device's own reference point to the
// line connector, and values derived from them.
#include <source_location>

#include "base/guards/line_span.h"
#include "base/manager/hostname.h"
#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"
#include "base/manager/remote/api.h"
#include "helpers/calibration.h"
#include "helpers/db_math.h"
#include "helpers/guard.h"
#include "helpers/waiting.h"

namespace manager::loops {

namespace {

constexpr float no_light = -99.0f;

const board_numbers& board() {
  return calibration::instance().board();
}

/// Both must be readable: half a sum would be taken for the whole.
template <class Signal, class Osc>
float total_power(Signal&& read_signal, Osc&& read_osc,
                  const std::source_location& where = std::source_location::current()) {
  float signal = no_light;
  float osc = no_light;
  const auto read = [&] {
    signal = read_signal();
    osc = read_osc();
  };
  return helpers::guarded(read, where) ? helpers::sum_dbm(signal, osc)
                                       : helpers::sum_dbm(no_light, no_light);
}

}  // namespace

float line_loop::get_osc_rx_power() {
  return sfp_->is_operational() ? get_osc_rx_power_unchecked() : no_light;
}

float line_loop::get_osc_rx_power_unchecked() {
  return sfp_->get_rx_power() - board().linerx_to_oscrx_db();
}

float line_loop::get_osc_tx_power() {
  return sfp_->is_operational() ? get_osc_tx_power_unchecked() : no_light;
}

float line_loop::get_osc_tx_power_unchecked() {
  return sfp_->get_tx_power() + board().osctx_to_linetx_db();
}

float line_loop::get_line_rx_signal_power() {
  return preamp_->get_rx_power() - board().linerx_to_preamprx_db();
}

float line_loop::get_line_tx_signal_power() {
  return booster_->get_tx_power() + board().boostertx_to_linetx_db() - voa_attenuation() -
         voa_insertion_loss();
}

float line_loop::get_line_rx_total_power() {
  return total_power([this] { return get_line_rx_signal_power(); },
                     [this] { return get_osc_rx_power(); });
}

float line_loop::get_line_tx_total_power() {
  return total_power([this] { return get_line_tx_signal_power(); },
                     [this] { return get_osc_tx_power(); });
}

line_loop::known_powers line_loop::known_powers_of(float (line_loop::*signal)(),
                                                   float (line_loop::*osc)()) {
  const auto read = [this](float (line_loop::*getter)()) -> std::optional<float> {
    try {
      return guards::lit_power((this->*getter)());
    } catch (...) {
      return std::nullopt;
    }
  };
  known_powers powers{.signal = read(signal), .total = std::nullopt};
  if (const auto supervisory = read(osc); supervisory && powers.signal) {
    powers.total = helpers::sum_dbm(*powers.signal, *supervisory);
  }
  return powers;
}

line_loop::known_powers line_loop::known_line_rx_powers() {
  return known_powers_of(&line_loop::get_line_rx_signal_power, &line_loop::get_osc_rx_power);
}

line_loop::known_powers line_loop::known_line_tx_powers() {
  return known_powers_of(&line_loop::get_line_tx_signal_power, &line_loop::get_osc_tx_power);
}

std::optional<float> line_loop::known_rx_span() {
  if (!peer_.is_alive(helpers::steady_now())) return std::nullopt;
  const auto sent = peer_.value(line_peer::operation::get_line_tx_total_power);
  if (!sent) return std::nullopt;
  return guards::span_between(guards::lit_power(*sent), known_line_rx_powers().total);
}

float line_loop::get_line_rx_loss() {
  const float sent = get_remote_line_tx_total_power();
  return loss_between(sent, get_line_rx_total_power());
}

float line_loop::get_line_tx_loss() {
  const float sent = get_line_tx_total_power();
  return loss_between(sent, get_remote_line_rx_total_power());
}

float line_loop::get_osc_rx_loss() {
  const float sent = get_remote_osc_tx_power();
  return loss_between(sent, get_osc_rx_power());
}

float line_loop::get_osc_tx_loss() {
  const float sent = get_osc_tx_power();
  return loss_between(sent, get_remote_osc_rx_power());
}

float line_loop::get_line_rx_fiber_length() {
  return osc_->get_fiber_length();
}

float line_loop::get_line_tx_fiber_length() {
  return remote_->get_fiber_length();
}

float line_loop::get_osc_tx_attenuation() {
  const float loss = get_osc_tx_loss();
  return loss > 0 ? attenuation_per_kilometer(loss, get_line_rx_fiber_length()) : 0;
}

// Without a peer there is no length, and no device is asked.
float line_loop::get_total_attenuation_per_kilometer() {
  const float length = get_line_tx_fiber_length();
  return is_measurable_length(length) ? attenuation_per_kilometer(get_line_tx_loss(), length) : 0;
}

float line_loop::get_remote_total_attenuation() {
  const float length = get_line_tx_fiber_length();
  return is_measurable_length(length) ? attenuation_per_kilometer(get_line_rx_loss(), length) : 0;
}

std::string line_loop::get_line_rx_status() {
  return preamp_->has_los() && sfp_->has_los() ? "down" : "up";
}

std::string line_loop::get_line_tx_status() {
  return sfp_->get_oper_status();
}

std::string line_loop::get_local_hostname() {
  return read_hostname();
}

std::string line_loop::get_line_interface_name(const char* direction) {
  return std::string("if-1/line-") + direction;
}

std::string line_loop::get_remote_line_interface_name(const char* direction) {
  return remote_->get_line_interface_name(direction);
}

std::string line_loop::get_voa_preset_settings() {
  return R"({"mode":"auto"})";
}

float line_loop::get_lms_step_size() {
  return lms_gradient_ * lms_step_size_;
}

float line_loop::get_preamp_gain() {
  return preamp_->get_gain();
}

float line_loop::get_preamp_default_gain() {
  return preamp_->get_default_gain();
}

float line_loop::get_preamp_power_limit() {
  return preamp_->get_power_limit();
}

float line_loop::get_osc_dispersion() {
  return osc_->get_fiber_dispersion();
}

std::string line_loop::get_remote_hostname() {
  return remote_->get_hostname();
}

float line_loop::get_remote_utilization() {
  return remote_->get_utilization();
}

float line_loop::get_remote_wanted_power() {
  return remote_->get_line_target_power();
}

float line_loop::get_remote_line_tx_total_power() {
  return remote_->get_line_tx_total_power();
}

float line_loop::get_remote_line_rx_total_power() {
  return remote_->get_line_rx_total_power();
}

float line_loop::get_remote_osc_rx_power() {
  return remote_->get_osc_rx_power();
}

float line_loop::get_remote_osc_tx_power() {
  return remote_->get_osc_tx_power();
}

float line_loop::get_remote_osc_attenuation() {
  return remote_->get_osc_attenuation();
}

float line_loop::get_remote_osc_loss() {
  return remote_->get_osc_loss();
}

float line_loop::get_remote_osc_dispersion() {
  return remote_->get_dispersion();
}

}  // namespace manager::loops
