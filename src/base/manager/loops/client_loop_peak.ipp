// Definitions of client_loop: the closed loop of a lit channel, and the calibration between the
// amplifier's output and the monitor.
#pragma once

#include <algorithm>

#include "base/manager/loops/client_loop.ipp"

namespace manager::loops {

template <class T>
float client_loop<T>::get_edfa_saturation() {
  constexpr float cap = 1.0f;
  return std::min(edfa_->get_saturation(), cap);
}

template <class T>
float client_loop<T>::get_edfa_calibration() {
  return edfa_calibration_.get();
}

template <class T>
typename client_loop<T>::peak_report client_loop<T>::measure_peak(const control_ptr& control,
                                                                  bool regulate) {
  constexpr float shortest_fiber_km = 0.001f;
  const auto channel = control->get_channel();
  fiber_length_ = std::max(osc_->get_fiber_length(), shortest_fiber_km);
  const float offset = channel->get_wanted_power_offset();
  const float saturation = get_edfa_saturation();
  const float target =
      control->get_target_power(fiber_length_, edfa_power_limit_) - saturation + offset;
  const float power = channel->get_ocm_power();
  const float calibration = edfa_calibration_.get();
  const float power_difference = (power + calibration) - target;
  control->note_measurement(target, target + saturation, power + calibration, power_difference);
  control->note_fibre(fiber_length_);
  return {.id = channel->get_id(),
          .regulate = regulate,
          .fiber_length = fiber_length_,
          .edfa_power_limit = edfa_power_limit_,
          .edfa_calibration = calibration,
          .channel_power = power,
          .channel_target_power = target,
          .power_difference = power_difference,
          .possible = false};
}

template <class T>
void client_loop<T>::manage_channel_peak(control_ptr control, bool regulate) {
  constexpr float on_target_db = 0.5f;
  auto report = measure_peak(control, regulate);
  control->set_on_target(std::fabs(report.power_difference) < on_target_db);
  report.possible = control->can_regulate(wss_, report.power_difference) &&
                    !is_opening_withheld(control, report.power_difference);
  log_peak(report);
  if (regulate && report.possible) {
    control->regulate(wss_, report.power_difference);
    if (turn_) {
      turn_->has_stepped = true;
    } else {
      note_step();
    }
  } else {
    LUMORA_LOG(0, "Channel {} regulation not possible.", report.id);
    if (report.possible || control->is_calming_down()) peak_regulated = true;
  }
}

template <class T>
void client_loop<T>::note_step() {
  last_regulation_ = helpers::system_now();
  peak_regulated = true;
}

template <class T>
bool client_loop<T>::is_opening_withheld(const control_ptr& control, float power_difference) {
  if (power_difference >= 0 || !saturation_.forbids_opening(control->get_power_time()))
    return false;
  control->conclude(saturation_.is_saturated() ? ::insight::channel_reason::amplifier_saturated
                                               : ::insight::channel_reason::reading_of_saturation);
  control->withhold(guards::unsaturated_amplifier,
                    saturation_.is_saturated()
                        ? "the amplifier gives more than 1 dB less than its gain"
                        : "the reading is from when the amplifier was in saturation");
  return true;
}

template <class T>
void client_loop<T>::log_peak(const peak_report& report) {
  LUMORA_LOG(0, "manage_channel_peak({}, {})", report.id, report.regulate);
  LUMORA_LOG(0, "fiber_length: {}", report.fiber_length);
  LUMORA_LOG(0, "edfa_power_limit: {}", report.edfa_power_limit);
  LUMORA_LOG(0, "edfa_calibration: {}", report.edfa_calibration);
  LUMORA_LOG(0, "channel_power: {}", report.channel_power);
  LUMORA_LOG(0, "channel_target_power: {}", report.channel_target_power);
  LUMORA_LOG(0, "power_difference: {}", report.power_difference);
  LUMORA_LOG(0, "regulation possible: {}", report.possible);
}

template <class T>
bool client_loop<T>::calibration_is_due() const {
  constexpr std::chrono::seconds interval{300};
  const auto since = helpers::system_now() - last_regulation_;
  return std::chrono::duration_cast<std::chrono::seconds>(since) > interval ||
         !edfa_calibration_.is_finite() || !has_calibrated_;
}

template <class T>
void client_loop<T>::update_edfa_calibration() {
  try {
    follow_edfa();
  } catch (...) {
    calibration_evidence_.begin_anew();
    throw;
  }
}

template <class T>
void client_loop<T>::follow_edfa() {
  constexpr float lowest_tx_power = -30.0f;
  bool due = calibration_is_due();
  const float tx_power = edfa_->get_tx_power();
  edfa_is_lit_ = tx_power >= lowest_tx_power;
  if (tx_power < lowest_tx_power) {
    LUMORA_LOG(1, fmt::runtime(direction_.tx_power_too_low), tx_power);
    due = false;
  }
  const auto now = helpers::steady_now();
  const float saturation = edfa_->get_saturation();
  edfa_saturation_value_->update(saturation);
  saturation_.look(saturation, now);
  if (!due) return;
  if (!knows_power_limit_) edfa_power_limit_ = edfa_->get_power_limit();
  knows_power_limit_ = true;
  calibration_evidence_.look(tx_power, ocm_->get_total_power(), now);
  if (!is_calibration_withheld()) calibrate();
}

template <class T>
bool client_loop<T>::is_calibration_withheld() {
  // A limit that has fallen permanently is learned eventually.
  constexpr std::chrono::seconds longest_saturation{300};
  auto& board = helpers::guard_register::instance();
  const auto now = helpers::steady_now();
  const bool saturated = has_calibrated_ && saturation_.is_saturated() &&
                         saturation_.lasting(now) < longest_saturation;
  if (!saturated && calibration_evidence_.is_sound(now)) {
    board.end(guards::calibration_readings, calibration_subject());
    return false;
  }
  board.withhold(guards::calibration_readings, calibration_subject(),
                 saturated ? "the amplifier is in saturation"
                           : "amplifier and monitor have not seen the same light yet");
  return true;
}

template <class T>
std::string client_loop<T>::calibration_subject() const {
  return fmt::format("client {} calibration", direction_.word);
}

template <class T>
void client_loop<T>::calibrate() {
  edfa_power_limit_ = edfa_->get_power_limit();
  learn_calibration();
  store_gain();
  has_calibrated_ = true;
  last_regulation_ = helpers::system_now();
}

template <class T>
void client_loop<T>::learn_calibration() {
  const float difference = edfa_->get_tx_power() - ocm_->get_total_power();
  if (!edfa_calibration_.is_finite()) {
    edfa_calibration_.restart((calibration::instance().board().*direction_.board_calibration)());
  }
  if (edfa_calibration_.accept(difference)) {
    LUMORA_LOG(1, fmt::runtime(direction_.calibration_updated), edfa_calibration_.get());
    store_calibration(edfa_calibration_.get());
  } else {
    LUMORA_LOG(2, fmt::runtime(direction_.calibration_refused), difference,
               edfa_calibration_.get());
  }
}

}  // namespace manager::loops
