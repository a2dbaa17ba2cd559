// The regulator for a peer with channels: a least-mean-squares step on one coefficient, the
// attenuation of the line VOA.
#include <algorithm>

#include <fmt/format.h>

#include "base/guards/line_span.h"
#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"
#include "helpers/calibration.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace manager::loops {

namespace {

using namespace std::chrono_literals;
using operation = line_peer::operation;

/// Attenuator and far amplifier are at rest after this; later readings were measured in the new
/// light.
constexpr auto settling = 500ms;
/// Healthy devices and peers answer within this; until then a wait is not worth mentioning.
constexpr auto usual_answer = 3s;

}  // namespace

void line_loop::manage_line(nx_db&, bool regulate) {
  operational_ = true;
  const float current = read_voa();
  const float maximum = voa_->get_max_attenuation();
  const float minimum = voa_->get_min_attenuation();
  // Calculated in every cycle, so that the histories grow while another loop has the turn.
  const auto wanted = wanted_adjustment();
  if (!regulate) {
    LUMORA_LOG(0, "Line regulation is disabled");
    if (wanted) judge_without_turn(*wanted);
    return;
  }
  if (wanted) step_voa(current, minimum, maximum, *wanted);
}

void line_loop::judge_at_rest(float change) {
  if (active_ == 0) return judge(line_reason::nothing_counts);
  constexpr float error_of_gradient = 0.5f;  // the gradient is twice the error
  judge(line_reason::within_rest, {lms_gradient_ * error_of_gradient, get_wanted_power(), change});
}

void line_loop::judge_without_turn(const adjustment& wanted) {
  if (is_at_rest(wanted.change)) return judge_at_rest(wanted.change);
  judge(line_reason::others_turn, {wanted.change});
}

std::optional<line_loop::adjustment> line_loop::wanted_adjustment() {
  const auto saturation = read_remote_saturation();
  if (saturation.value >= saturation_threshold_) {
    return adjustment{.change = saturation_step(saturation.value),
                      .saturation = saturation.value,
                      .saturation_is_lost = saturation.is_lost};
  }
  end_guard(guards::line_fresh);
  saturation_withheld_since_.reset();
  try {
    const auto change = lms_adjustment();
    if (!change) return std::nullopt;
    return adjustment{.change = *change, .saturation_is_lost = saturation.is_lost};
  } catch (...) {
    LUMORA_LOG(1, "Failed to calculate LMS error");
    const bool is_offered = remote_->reports(operation::get_edfa_tx_calibration);
    judge(is_offered ? line_reason::calibration_not_known : line_reason::peer_without_calibration,
          {}, remote_->last_product());
    return std::nullopt;
  }
}

line_loop::remote_saturation line_loop::read_remote_saturation() {
  if (const auto known = peer_.value(operation::get_edfa_tx_saturation)) return {.value = *known};
  try {
    const float last = remote_->get_edfa_tx_saturation();
    return {.value = last, .is_lost = true};
  } catch (...) {
    LUMORA_LOG(1, "Failed to get remote preamp saturation");
    return {.value = 0.0f};
  }
}

std::optional<float> line_loop::lms_adjustment() {
  const auto error = calculate_lms_error();
  // The errors of all channels have agreed; the step is made for those that are fresh.
  if (error && lms_calmdown(*error)) return fresh_gradient_ * lms_step_size_;
  LUMORA_LOG(1, "lms optimization unavailable");
  return std::nullopt;
}

bool line_loop::is_fresh(const line_peer::reading& power) const {
  const auto since = std::max(voa_watch_.last_write().value_or(link_down_), link_down_);
  return power.changes > 0 && power.arrived > since + settling;
}

bool line_loop::is_saturation_fresh(float saturation) {
  const auto now = helpers::steady_now();
  const auto reading = peer_.known(operation::get_edfa_tx_saturation);
  std::optional<steady_point> changed;
  if (reading && reading->changes > 0) changed = reading->arrived;
  using enum guards::saturation_verdict;
  const auto verdict = saturation_steps_.judge({.saturation = saturation,
                                                .saturation_changed = changed,
                                                .channels_changed = newest_channel_change(),
                                                .last_write = voa_watch_.last_write(),
                                                .now = now});
  if (verdict == step) return true;
  LUMORA_LOG(0, "Remote preamp is saturated by {}, waiting for its answer", saturation);
  // A healthy peer answers within a second or two.
  if (!saturation_withheld_since_) saturation_withheld_since_ = now;
  if (now - *saturation_withheld_since_ <= usual_answer) {
    judge(line_reason::saturation_waits, {saturation});
  } else if (verdict == unmoved) {
    judge(line_reason::saturation_unmoved, {saturation});
    withhold(guards::line_fresh,
             fmt::format("the far saturation of {} dB does not respond to steps", saturation));
  } else {
    judge(line_reason::saturation_is_old, {saturation});
    withhold(guards::line_fresh, fmt::format("no news of the far saturation of {} dB", saturation));
  }
  return false;
}

bool line_loop::may_step(const adjustment& wanted) {
  if (!peer_.is_up()) {
    withhold(guards::line_fresh, "the peer is not connected");
    judge(line_reason::peer_is_lost, {}, remote_->last_product());
    return false;
  }
  // No step on an old saturation, and no more light into a preamp of which it is unknown whether it
  // can take it.
  if (wanted.saturation_is_lost && (wanted.saturation || wanted.change < 0)) {
    withhold(guards::line_known, "the far saturation is not known");
    judge(line_reason::saturation_lost);
    return false;
  }
  end_guard(guards::line_known);
  if (wanted.saturation && !is_saturation_fresh(*wanted.saturation)) return false;
  saturation_withheld_since_.reset();
  end_guard(guards::line_fresh);
  return true;
}

void line_loop::judge_exhausted(float current, float change) {
  judge(change < 0 ? line_reason::fully_open : line_reason::at_its_end, {current, change});
}

void line_loop::step_voa(float current, float minimum, float maximum, const adjustment& wanted) {
  const float change = wanted.change;
  if ((current == maximum && change > 0) || (current == minimum && change < 0)) {
    LUMORA_LOG(1, "VOA is exhausted, not much to do");
    if (is_at_rest(change)) return judge_at_rest(change);
    return judge_exhausted(current, change);
  }
  if (is_at_rest(change)) {
    LUMORA_LOG(1, "We are done regulating line, adjustment: {}", change);
    return judge_at_rest(change);
  }
  if (!may_step(wanted)) return;
  const auto now = helpers::steady_now();
  const auto decision = voa_watch_.decide_step(current, change, minimum, maximum, now);
  if (decision.what != guards::attenuator_watch::verdict::write) {
    return wait_for_attenuator(decision, current, change);
  }
  end_guard(guards::line_attenuator);
  if (wanted.saturation) {
    LUMORA_LOG(2, "Remote preamp is saturated, adjusting VOA by {}", change);
    saturation_steps_.stepped(*wanted.saturation);
    record_.note_giving_way();
    judge(line_reason::saturation_moved, {*wanted.saturation, current, decision.attenuation});
  } else {
    judge(line_reason::moved, {current, decision.attenuation});
  }
  LUMORA_LOG(2, "Adjusting VOA from {} to {}", current, decision.attenuation);
  write_voa(current, decision.attenuation);
  end_opening();
}

void line_loop::wait_for_attenuator(const guards::attenuator_watch::decision& decision,
                                    float current, float change) {
  if (decision.what == guards::attenuator_watch::verdict::at_end) {
    LUMORA_LOG(1, "VOA is exhausted, not much to do");
    judge_exhausted(current, change);
    return withhold(guards::line_attenuator, fmt::format("the end of its range at {} dB", current));
  }
  judge(line_reason::not_answered, {decision.attenuation, current});
  const auto now = helpers::steady_now();
  if (now - *voa_watch_.last_write() <= usual_answer) return;
  withhold(guards::line_attenuator, fmt::format("it still shows {} dB", current));
}

void line_loop::withhold(const helpers::guard_kind& guard, const std::string& reason) {
  verdict_.guard = guard.name;
  helpers::guard_register::instance().withhold(guard, guard_subject, reason);
}

void line_loop::begin_guard(const helpers::guard_kind& guard, const std::string& reason) {
  helpers::guard_register::instance().begin(guard, guard_subject, reason);
}

void line_loop::end_guard(const helpers::guard_kind& guard) {
  helpers::guard_register::instance().end(guard, guard_subject);
}

float line_loop::calculate_voa_attenuation(float target_output_power, float bandwidth) {
  const auto& node = calibration::instance();
  return voa_attenuation_for({.booster_limit = booster_->get_power_limit(),
                              .bandwidth = bandwidth,
                              .target_power = target_output_power,
                              .insertion_loss = voa_insertion_loss(),
                              .booster_to_line = node.board().boostertx_to_linetx_db(),
                              .margin = node.line_margin});
}

float line_loop::voa_attenuation() {
  return voa_ ? voa_->get_attenuation() : 0.0f;
}

float line_loop::voa_insertion_loss() {
  return voa_ ? voa_->get_insertion_loss() : 0.0f;
}

}  // namespace manager::loops
