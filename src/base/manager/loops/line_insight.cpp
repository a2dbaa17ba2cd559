// The line's report on its last cycle. The phases judge as they decide; the result is shown as a
// whole at the end of the cycle, so that no reader waits for a phase that waits for a device.
#include <fmt/format.h>

#include <algorithm>

#include "base/manager/loops/line_loop.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_error.h"

namespace manager::loops {

namespace {

using namespace std::chrono_literals;

/// A peer reports its channels once a second: a cycle without news does not change the findings.
constexpr auto usual_pause = 3s;
/// Several passes of the slowest monitor, each of which shows noise.
constexpr auto longest_standstill = 30s;
constexpr auto longest_wait_for_span = 30s;
constexpr std::chrono::system_clock::time_point never{};

}  // namespace

void line_loop::begin_verdict() {
  verdict_.guard = nullptr;
  verdict_.preset.reset();
  verdict_.attenuation.reset();
}

void line_loop::judge(line_reason reason, std::array<float, 3> figures, std::string word) {
  verdict_.reason = reason;
  verdict_.figures = figures;
  verdict_.word = std::move(word);
}

// The finding of the last look with new readings stays for a while.
void line_loop::judge_nothing_new(bool any_counts) {
  auto last_sign = peer_.last_sign_of_life();
  if (last_sign && powers_changed_) last_sign = std::max(*last_sign, *powers_changed_);
  const auto silence = last_sign ? helpers::steady_now() - *last_sign : line_peer::longest_silence;
  if (peer_.is_up() && silence > line_peer::longest_silence) {
    return judge(line_reason::no_sign_of_life, {std::chrono::duration<float>(silence).count()});
  }
  if (!powers_changed_) return judge(line_reason::nothing_new);
  const auto unchanged = helpers::steady_now() - *powers_changed_;
  if (unchanged < usual_pause) return;
  if (!any_counts) return judge(line_reason::nothing_counts);
  if (unchanged <= longest_standstill) return judge(line_reason::nothing_new);
  judge(line_reason::channels_stand_still, {std::chrono::duration<float>(unchanged).count()});
}

void line_loop::judge_unknown_peer() {
  if (!peer_.is_up()) return judge(line_reason::nobody_answers);
  const auto last = peer_.last_sign_of_life();
  const auto silence = last ? helpers::steady_now() - *last : 0s;
  if (silence > line_peer::longest_silence) {
    return judge(line_reason::no_sign_of_life, {std::chrono::duration<float>(silence).count()});
  }
  judge(line_reason::product_not_known, {}, remote_->last_product());
}

// A line that rests, or never moves, says nothing about a peer that no longer answers; its values
// are shown all the same.
void line_loop::judge_silence() {
  using enum ::states::line_state;
  const bool never_moves = verdict_.reason == line_reason::no_attenuator ||
                           verdict_.reason == line_reason::peer_without_calibration;
  if (!never_moves && ::insight::state_of(verdict_.reason) != at_rest) return;
  if (!peer_.is_up()) {
    if (never_moves) judge(line_reason::peer_is_lost, {}, remote_->last_product());
    return;
  }
  const auto last = peer_.last_sign_of_life();
  if (!last) return;
  const std::chrono::duration<float> silence = helpers::steady_now() - *last;
  if (silence > line_peer::longest_silence) judge(line_reason::no_sign_of_life, {silence.count()});
}

void line_loop::judge_unknown_span() {
  if (!peer_.is_up()) return;  // told already
  if (!span_unknown_since_) span_unknown_since_ = helpers::steady_now();
  if (const auto last = peer_.last_sign_of_life()) {
    const std::chrono::duration<float> silence = helpers::steady_now() - *last;
    if (silence > line_peer::longest_silence)
      return judge(line_reason::no_sign_of_life, {silence.count()});
  }
  const bool is_missing = helpers::steady_now() - *span_unknown_since_ > longest_wait_for_span;
  judge(is_missing ? line_reason::spans_missing : line_reason::spans_not_known);
}

void line_loop::judge_unsteady(float spread, float threshold) {
  if (active_ == 0) return judge(line_reason::nothing_counts);
  if (error_history_.size() < error_history_size_) {
    return judge(line_reason::few_readings, {static_cast<float>(error_history_.size()),
                                             static_cast<float>(error_history_size_)});
  }
  judge(line_reason::not_steady, {spread, threshold});
}

void line_loop::publish_verdict() {
  using enum ::states::line_state;
  const auto state = ::insight::state_of(verdict_.reason);
  const bool peer_is_missing =
      state == no_peer || state == peer_not_known || state == no_supervisory_link;
  if (peer_is_missing && opening_ && opening_->awaits_peer) verdict_.preset = opening_->wanted;
  const bool is_left_alone = verdict_.reason == line_reason::node_leaves_alone ||
                             verdict_.reason == line_reason::peer_without_calibration ||
                             verdict_.reason == line_reason::channels_stand_still;
  if (peer_is_missing || state == no_fibre || is_left_alone) {
    verdict_.attenuation = record_.attenuation();
  }
  if (state != ::insight::state_of(record_.verdict().reason) || verdict_.since == never) {
    verdict_.since = helpers::system_now() - ::insight::silence_of(verdict_);
  }
  record_.publish(verdict_);
}

void line_loop::note_down(const std::string& failure) {
  begin_verdict();
  judge(line_reason::failed, {}, failure.empty() ? "a device is not operational" : failure);
  publish_verdict();
}

void line_loop::note_idle(const std::string& mode) {
  begin_verdict();
  judge(line_reason::node_leaves_alone, {}, fmt::format("the automation mode is {}", mode));
  publish_verdict();
  refresh_insight();
}

void line_loop::refresh_insight() {
  for (const auto& value : insight_values_)
    value->refresh();
}

std::string line_loop::get_state() {
  return ::states::row_of(::insight::state_of(get_verdict().reason)).text;
}

std::string line_loop::get_why() {
  return ::insight::sentence_of(get_verdict());
}

float line_loop::known_attenuation() const {
  if (!voa_) throw nx_error(nx_error::no_value, "This model has no VOA on the line");
  const auto attenuation = record_.attenuation();
  if (!attenuation) throw nx_error(nx_error::no_value, "The VOA has not been read yet");
  return *attenuation;
}

float line_loop::get_headroom_up() {
  return known_attenuation() - voa_->get_min_attenuation();
}

float line_loop::get_headroom_down() {
  const float attenuation = known_attenuation();
  return voa_->get_max_attenuation() - attenuation;
}

unsigned line_loop::get_steps() {
  return get_voa_record().steps();
}

unsigned line_loop::get_steps_last_hour() {
  return get_voa_record().steps_last_hour(helpers::steady_now());
}

}  // namespace manager::loops
