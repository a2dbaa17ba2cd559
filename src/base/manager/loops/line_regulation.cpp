// The regulator against a peer with channels: a least-mean-squares step on one coefficient, the
// attenuation of the line VOA.
#include "base/channel/control/regulation.h"
#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"
#include "base/manager/remote/api.h"
#include "helpers/calibration.h"
#include "helpers/logger.h"

namespace manager::loops {

void line_loop::manage_line(nx_db&, bool regulate) {
  operational_ = true;
  const float current = voa_->get_attenuation();
  const float maximum = voa_->get_max_attenuation();
  const float minimum = voa_->get_min_attenuation();
  // Worked out in every cycle, so that the histories grow while another loop has the turn.
  const auto adjustment = wanted_adjustment(regulate);
  if (!regulate) {
    LUMORA_LOG(0, "Line regulation is disabled");
    return;
  }
  if (adjustment) step_voa(current, minimum, maximum, *adjustment);
}

std::optional<float> line_loop::wanted_adjustment(bool regulate) {
  const float saturation = read_remote_saturation();
  if (saturation >= saturation_threshold_) {
    const float step = saturation_step(saturation);
    if (regulate) LUMORA_LOG(2, "Remote preamp is saturated, adjusting VOA by {}", step);
    return step;
  }
  try {
    return lms_adjustment();
  } catch (...) {
    LUMORA_LOG(1, "Failed to calculate LMS error");
    return std::nullopt;
  }
}

float line_loop::read_remote_saturation() {
  try {
    return remote_->get_edfa_tx_saturation();
  } catch (...) {
    LUMORA_LOG(1, "Failed to get remote preamp saturation");
    return 0.0f;
  }
}

std::optional<float> line_loop::lms_adjustment() {
  const auto error = calculate_lms_error();
  if (error && lms_calmdown(*error)) return *error * lms_step_size_;
  LUMORA_LOG(1, "lms optimization unavailable");
  return std::nullopt;
}

void line_loop::step_voa(float current, float minimum, float maximum, float adjustment) {
  if ((current == maximum && adjustment > 0) || (current == minimum && adjustment < 0)) {
    LUMORA_LOG(1, "VOA is exhausted, not much to do");
    return;
  }
  if (is_at_rest(adjustment)) {
    LUMORA_LOG(1, "We are done regulating line, adjustment: {}", adjustment);
    return;
  }
  const float attenuation =
      ::channel::control::clamp_attenuation(current + adjustment, minimum, maximum);
  LUMORA_LOG(2, "Adjusting VOA from {} to {}", current, attenuation);
  voa_->set_attenuation(attenuation);
  // The next step needs a full set of new readings from the peer.
  for (auto& [id, state] : channel_states_)
    state.power_history.clear();
  error_history_.clear();
}

float line_loop::calculate_voa_attenuation(float target_output_power, float bandwidth) {
  auto& board = calibration::instance();
  return voa_attenuation_for({.booster_limit = booster_->get_power_limit(),
                              .bandwidth = bandwidth,
                              .target_power = target_output_power,
                              .insertion_loss = voa_insertion_loss(),
                              .booster_to_line = board.get_value("cal_boostertx_to_linetx"),
                              .margin = board.line_margin});
}

float line_loop::voa_attenuation() {
  return voa_ ? voa_->get_attenuation() : 0.0f;
}

float line_loop::voa_insertion_loss() {
  return voa_ ? voa_->get_insertion_loss() : 0.0f;
}

}  // namespace manager::loops
