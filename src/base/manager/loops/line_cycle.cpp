// The cycle of the line: what state the fibre is in, and what is done about it.
#include <cmath>

#include <fmt/format.h>

#include "base/manager/leds.h"
#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"
#include "base/manager/remote/api.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/board_spec/board_spec_lib.h"

namespace manager::loops {

namespace {

using namespace std::chrono_literals;

/// After a coldstart the devices need a moment before their readings can be trusted.
constexpr auto coldstart_pause = 5s;
constexpr std::chrono::nanoseconds spanloss_pause = 25s - 1ns;
constexpr std::size_t spanloss_history_size = 5;
/// The VOA is not moved for less than this, dB.
constexpr double smallest_default_change = 0.2;

std::chrono::system_clock::time_point now() {
  return helpers::waiting::instance().system_now();
}

}  // namespace

line_loop::line_loop(std::shared_ptr<manager::remote::api> remote)
    : remote_(std::move(remote)), values_(nx::api::value_group::create(1)) {
  for (const char* key : {"oms_tx", "ots_tx", "oms_rx", "ots_rx"}) {
    spanloss_history_.emplace(key, boost::circular_buffer<float>(spanloss_history_size));
  }
}

line_loop::~line_loop() = default;

void line_loop::init(nx_db&, bool embedded_ila) {
  last_spanloss_check_ = now();
  embedded_ila_ = embedded_ila;
  operational_ = true;
  helpers::logged_and_thrown([this] { is_voa_ready(); }, [this] { operational_ = false; });
  LUMORA_LOG(2, "Line loop is now operational.");
}

void line_loop::run(nx_db& db, bool regulate, bool coldstart) {
  try {
    run_cycle(db, regulate, coldstart);
  } catch (...) {
    operational_ = false;
    helpers::log_current_exception();
  }
}

void line_loop::run_cycle(nx_db& db, bool regulate, bool coldstart) {
  if (!is_voa_ready()) return;
  act_on_fibre(db, is_osc_up(), regulate, coldstart);
  update_alarms(db);
}

void line_loop::act_on_fibre(nx_db& db, bool osc_up, bool regulate, bool coldstart) {
  if (coldstart && !coldstart_done_) return open_after_coldstart();
  if (preamp_->has_los() && !osc_up) return close_lost_fibre();
  if (!preamp_->is_enabled() || !booster_->is_enabled()) return enable_amplifiers();
  work_on_open_fibre(db, osc_up, regulate);
}

bool line_loop::is_osc_up() {
  bool up = false;
  helpers::guarded([&] { up = osc_->is_operational(); });
  return up;
}

void line_loop::open_after_coldstart() {
  LUMORA_LOG(2, "Coldstart! Setting VOA default attenuation.");
  if (!helpers::waiting::instance().sleep(coldstart_pause)) return;
  set_voa_default_attenuation();
  reset_spanloss_history();
  coldstart_done_ = true;
  trigger_initial_tdcm_setting();
}

void line_loop::close_lost_fibre() {
  if (line_connection_ == false) return;
  LUMORA_LOG(2, "Preamp LOS and OSC Link down! Coldstarting fiber.");
  preamp_->disable();
  set_voa_default_attenuation();
  set_booster_enabled(false);
  line_connection_ = false;
  reset_spanloss_history();
}

void line_loop::enable_amplifiers() {
  LUMORA_LOG(2, "Enabling preamp.");
  preamp_->enable();
  LUMORA_LOG(2, "Enabling booster.");
  set_booster_enabled(true);
  reset_spanloss_history();
}

void line_loop::work_on_open_fibre(nx_db& db, bool osc_up, bool regulate) {
  if (!osc_up) {
    LUMORA_LOG(1, "Unable to regulate, OSC link not up?");
    return;
  }
  if (line_connection_ == false) reopen_fibre();
  line_connection_ = true;
  update_spanlosses();
  this->regulate(db, regulate);
}

void line_loop::reopen_fibre() {
  LUMORA_LOG(2, "Line connection is back up.");
  set_voa_default_attenuation();
  reset_spanloss_history();
  trigger_initial_tdcm_setting();
  leds_->set_line_tx_enabled(true);
}

void line_loop::update_alarms(nx_db& db) {
  update_alarm(db, "1/rx/lossOfSignal", preamp_->has_los());
  leds_->set_line_rx_los(preamp_->has_los());
  update_alarm(db, "1/rx/osc/lossOfSignal", sfp_->has_los());
  update_alarm(db, "1/rx/osc/lossOfLink", osc_->has_loss_of_link());
}

void line_loop::update_alarm(nx_db& db, const std::string& name, bool active) {
  const unsigned severity = active ? 1 : 0;
  auto& alarm = alarms_[name];
  if (alarm) {
    alarm->update(severity);
    return;
  }
  alarm = nx::api::status_value<unsigned>::create(db, fmt::format("alarms/line/{}/severity", name),
                                                  severity, 1);
}

std::optional<float> line_loop::attenuation_from_peer() {
  try {
    if (!osc_->is_operational()) return std::nullopt;
    const float remote_limit = remote_->get_preamp_power_limit();
    const float booster_limit = booster_->get_power_limit();
    const float osc_tx_power = sfp_->get_tx_power();
    const float remote_osc_rx_power = remote_->get_osc_rx_power();
    const float loss = signal_loss_from_osc(osc_tx_power, remote_osc_rx_power);
    const float remote_gain = remote_->get_preamp_gain();
    LUMORA_LOG(2,
               "Remote preamp power limit: {}, booster power limit: {}, osc tx power: {}, remote "
               "osc rx power: {}, loss: {}, ofg preamp: {}",
               remote_limit, booster_limit, osc_tx_power, remote_osc_rx_power, loss, remote_gain);
    return opening_attenuation(booster_limit, remote_limit, loss, remote_gain);
  } catch (...) {
    helpers::log_current_exception();
    return std::nullopt;
  }
}

void line_loop::set_voa_default_attenuation() {
  const float preset = board_spec_lib::instance().get_voa_preset_default();
  const float attenuation = attenuation_from_peer().value_or(preset);
  const float present = voa_->get_attenuation();
  if (std::fabs(double{present} - double{attenuation}) <= smallest_default_change) return;
  LUMORA_LOG(2, "Setting VOA default attenuation {}.", attenuation);
  voa_->set_attenuation(attenuation);
}

void line_loop::set_booster_enabled(bool enabled) {
  if (enabled) {
    booster_->enable();
  } else {
    booster_->disable();
  }
  leds_->set_line_tx_enabled(enabled);
}

void line_loop::trigger_initial_tdcm_setting() {}

void line_loop::regulate(nx_db& db, bool regulate) {
  if (!remote_->is_known()) return;
  if (remote_->is_embedded_ila() && embedded_ila_) {
    manage_embedded_ila_line(db, regulate);
  } else {
    manage_line(db, regulate);
  }
}

void line_loop::reset_spanloss_history() {
  for (auto& [key, history] : spanloss_history_)
    history.clear();
  spanloss_samples_ = 0;
  used_tx_span_.reset();
  used_rx_span_.reset();
  section_is_oms_ = false;
}

void line_loop::update_spanlosses() {
  if (!last_spanloss_update_) {
    last_spanloss_update_ = now();
    return;
  }
  if (now() - *last_spanloss_update_ <= spanloss_pause) return;
  spanloss_oms_rx_->update(loss_between(remote_->get_line_tx_power(), get_line_rx_signal_power()));
  spanloss_oms_tx_->update(loss_between(get_line_tx_signal_power(), remote_->get_line_rx_power()));
  spanloss_ots_rx_->update(
      loss_between(remote_->get_line_tx_total_power(), get_line_rx_total_power()));
  spanloss_ots_tx_->update(
      loss_between(get_line_tx_total_power(), remote_->get_line_rx_total_power()));
  last_spanloss_update_ = now();
}

bool line_loop::is_voa_ready() {
  return voa_->is_operational();
}

bool line_loop::is_operational() {
  return operational_;
}

float line_loop::get_wanted_power() {
  constexpr float default_power = 5.0f;
  return wanted_power_.load().value_or(default_power);
}

void line_loop::set_wanted_power(float power) {
  wanted_power_ = power;
}

}  // namespace manager::loops
