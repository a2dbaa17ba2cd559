// The attenuation at which a fresh line opens, and how it is set: calculated with the peer as it is
// known now, otherwise the board's preset until the peer has been read; requested until the
// attenuator shows it.
#include <cmath>

#include "base/guards/line_opening.h"
#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"
#include "device/reading_kind.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/board_spec/board_spec_lib.h"
#include "platform/wire/nx_error.h"

namespace manager::loops {

namespace {

using namespace std::chrono_literals;
using operation = line_peer::operation;

/// The VOA is not moved by less than this, dB.
constexpr double smallest_default_change = 0.2;
/// A peer that has been up this long without the values needed for an opening will not report them
/// any more.
constexpr auto longest_wait_for_values = 1min;

bool is_close(float present, float wanted) {
  return std::fabs(double{present} - double{wanted}) <= smallest_default_change;
}

}  // namespace

std::optional<float> line_loop::attenuation_from_peer() {
  try {
    if (!peer_.is_known() || !osc_->is_operational()) return std::nullopt;
    const auto remote_osc_rx = peer_.known(operation::get_osc_rx_power);
    const auto remote_limit = peer_.value(operation::get_preamp_power_limit);
    const auto remote_gain = peer_.value(operation::get_preamp_gain);
    if (!remote_osc_rx || !remote_limit || !remote_gain) return std::nullopt;
    if (!peer_.is_told_since(*remote_osc_rx, link_down_)) return std::nullopt;
    const float booster_limit = booster_->get_power_limit();
    const float osc_tx_power = sfp_->get_tx_power();
    const float loss = signal_loss_from_osc(osc_tx_power, remote_osc_rx->value);
    if (!guards::is_opening_loss(osc_tx_power, loss)) return std::nullopt;
    const float attenuation = opening_attenuation(booster_limit, *remote_limit, loss, *remote_gain);
    LUMORA_LOG(2,
               "Remote preamp power limit: {}, booster power limit: {}, osc tx power: {}, remote "
               "osc rx power: {}, loss: {}, ofg preamp: {}",
               *remote_limit, booster_limit, osc_tx_power, remote_osc_rx->value, loss,
               *remote_gain);
    return attenuation;
  } catch (...) {
    helpers::log_current_exception();
    return std::nullopt;
  }
}

void line_loop::set_voa_default_attenuation() {
  opening_ = opening{.wanted = board_spec_lib::instance().get_voa_preset_default()};
  open_with_peer();
  write_opening(true);
}

void line_loop::open_with_peer() {
  const auto attenuation = attenuation_from_peer();
  if (!attenuation) {
    begin_guard(guards::line_opening, "the peer has not been read since");
    return;
  }
  opening_->awaits_peer = false;
  if (guards::is_within(*attenuation, voa_->get_min_attenuation(), voa_->get_max_attenuation())) {
    opening_->wanted = *attenuation;
    end_guard(guards::line_opening);
  } else {
    withhold(guards::line_opening, fmt::format("an attenuation of {} dB", *attenuation));
  }
}

void line_loop::write_opening(bool at_once) {
  const float present = read_voa();
  const float wanted = opening_->wanted;
  opening_->is_shown = is_close(present, wanted) || voa_watch_.has_taken(wanted);
  if (opening_->is_shown) return;
  if (!guards::is_within(wanted, voa_->get_min_attenuation(), voa_->get_max_attenuation())) {
    return withhold(guards::line_opening, fmt::format("a preset of {} dB", wanted));
  }
  const auto decision = voa_watch_.decide_setting(wanted, helpers::steady_now());
  if (!at_once && decision.what == guards::attenuator_watch::verdict::waiting) return;
  LUMORA_LOG(2, "Setting VOA default attenuation {}.", wanted);
  write_voa(present, wanted);
}

void line_loop::continue_opening(bool osc_up) {
  if (!opening_) return;
  bool at_once = false;
  if (opening_->awaits_peer && osc_up) {
    open_with_peer();
    at_once = !opening_->awaits_peer;
    if (peer_is_without_opening()) opening_->awaits_peer = false;
  }
  if (opening_->is_shown && opening_->awaits_peer) return;
  write_opening(at_once);
  if (opening_->is_shown && !opening_->awaits_peer) end_opening();
}

bool line_loop::peer_is_without_opening() const {
  if (peer_.is_known() && remote_->is_embedded_ila()) return true;
  return peer_up_since_ && helpers::steady_now() - *peer_up_since_ > longest_wait_for_values;
}

void line_loop::end_opening() {
  opening_.reset();
  end_guard(guards::line_opening);
}

float line_loop::read_voa() {
  constexpr auto kind = ::device::reading_kind::attenuation;
  const float attenuation = voa_->get_attenuation();
  // A blocked attenuator gives no value to step from.
  if (::device::judge(kind, attenuation) != ::device::verdict::measured) {
    throw nx_error(nx_error::invalid, ::device::refusal_text(kind, attenuation));
  }
  voa_watch_.look(attenuation);
  note_attenuation(attenuation);
  return attenuation;
}

void line_loop::write_voa(float present, float attenuation) {
  voa_->set_attenuation(attenuation);
  voa_watch_.wrote(present, attenuation, helpers::steady_now());
  record_.note_step(attenuation - present, lms_gradient_ / 2);
  forget_measurements();
}

// The next step needs a full set of new readings from the peer.
void line_loop::forget_measurements() {
  for (auto& [id, state] : channel_states_)
    state.power_history.clear();
  error_history_.clear();
}

}  // namespace manager::loops
