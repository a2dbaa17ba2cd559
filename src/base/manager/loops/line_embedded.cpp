// The regulator for an in-line amplifier as the peer, which has no channels but measures the spans
// for this node: VOA and preamp gain are set from them once, and again when a span has changed and
// is steady.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "base/guards/line_opening.h"
#include "base/guards/line_span.h"
#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"
#include "base/manager/remote/api.h"
#include "helpers/calibration.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_error.h"

namespace manager::loops {

namespace {

using namespace std::chrono_literals;

constexpr auto check_pause = 5s;
constexpr float lowest_plausible_loss = -1.0f;
constexpr float embedded_bandwidth_ghz = 150.0f;

using operation = line_peer::operation;

bool is_waiting(const guards::attenuator_watch& watch, float wanted) {
  return watch.decide_setting(wanted, helpers::steady_now()).what ==
         guards::attenuator_watch::verdict::waiting;
}

std::string text_of(const std::optional<float>& value) {
  return value ? fmt::format("{}", *value) : "not set";
}

}  // namespace

void line_loop::manage_embedded_ila_line(nx_db&, bool regulate) {
  operational_ = true;
  if (!regulate) {
    LUMORA_LOG(0, "Line regulation is disabled");
    return;  // it looks at the spans only every few seconds: the last finding stays
  }
  if (!osc_->is_operational() || !is_spanloss_check_due()) return;
  take_back_unanswered_settings();
  if (!peer_.is_up() || !take_spanloss_samples()) return;
  spans_.take_section(remote_->get_spanloss_section());
  constexpr auto wanted = measured_spans::wanted_samples;
  if (spans_.samples() < wanted) {
    return judge(line_reason::few_spans,
                 {static_cast<float>(spans_.samples()), static_cast<float>(wanted)});
  }
  const auto tx = spans_.outgoing();
  const auto rx = spans_.incoming();
  judge(line_reason::spans_fit, {tx.loss, rx.loss});
  if (tx.calls_for_setting() && voa_) set_voa_from_span(tx.loss);
  if (rx.calls_for_setting()) set_preamp_from_span(rx.loss);
  last_spanloss_check_ = helpers::system_now();
}

bool line_loop::is_spanloss_check_due() {
  if (!last_spanloss_check_) {
    last_spanloss_check_ = helpers::system_now();
    return false;
  }
  return helpers::system_now() - *last_spanloss_check_ >= check_pause;
}

// All four, for the fibre since it was opened.
bool line_loop::are_spans_known() const {
  return std::ranges::all_of(measured_spans::read_by, [this](operation what) {
    const auto loss = peer_.known(what);
    return loss && peer_.is_told_since(*loss, spans_since_);
  });
}

bool line_loop::take_spanloss_samples() {
  std::array<float, measured_spans::count> losses{};
  try {
    std::ranges::transform(measured_spans::read_by, losses.begin(),
                           [this](operation what) { return remote_->get<float>(what); });
  } catch (const nx_error&) {
    begin_guard(guards::line_known, "the peer does not report its spans");
    judge(line_reason::spans_not_known);
    return false;
  }
  if (std::any_of(losses.begin(), losses.end(),
                  [](float loss) { return loss < lowest_plausible_loss; })) {
    spans_.reset();
    judge(line_reason::spans_not_known);
    LUMORA_LOG(2, "Failed to read spanloss values, skipping regulation");
    return false;
  }
  if (!are_spans_known()) {
    begin_guard(guards::line_known, "the spans at the peer are not known");
    judge(line_reason::spans_not_known);
    return false;
  }
  end_guard(guards::line_known);
  spans_.take(losses);
  return true;
}

// A setting counts as made once it has been written and the device shows it; a lost one is made
// again.
void line_loop::take_back_unanswered_settings() {
  if (voa_) read_voa();
  gain_watch_.look(preamp_->get_gain());
  if (!voa_watch_.has_answered()) spans_.used_outgoing.reset();
  if (!gain_watch_.has_answered()) spans_.used_incoming.reset();
}

void line_loop::withhold_setting(const std::string& reason) {
  withhold(guards::line_known, reason);
  judge(line_reason::span_withheld, {}, reason);
}

void line_loop::set_voa_from_span(float tx_span) {
  const auto remote_minimum_gain = peer_.value(operation::get_preamp_default_gain);
  if (!remote_minimum_gain) {
    return withhold_setting("the gain at the peer is not known");
  }
  embedded_.remote_minimum_gain = *remote_minimum_gain;
  embedded_.target_output_power = embedded_target_power(tx_span, embedded_.remote_minimum_gain);
  embedded_.attenuation = std::max(
      calculate_voa_attenuation(embedded_.target_output_power, embedded_bandwidth_ghz), 0.0f);
  if (!guards::is_within(embedded_.attenuation, 0.0f, voa_->get_max_attenuation())) {
    return withhold_setting(
        fmt::format("a span of {} dB asks for {} dB", tx_span, embedded_.attenuation));
  }
  const float present = read_voa();
  if (is_waiting(voa_watch_, embedded_.attenuation)) {
    return judge(line_reason::not_answered, {embedded_.attenuation, present});
  }
  embedded_.used_tx_span = tx_span;
  judge(line_reason::moved, {present, embedded_.attenuation});
  write_voa(present, embedded_.attenuation);
  spans_.used_outgoing = tx_span;
  end_opening();
  print_data_to_log(true);
}

void line_loop::set_preamp_from_span(float rx_span) {
  embedded_.preamp_default_gain = preamp_->get_default_gain();
  embedded_.line_calibration = calibration::instance().board().linerx_to_preamprx_db();
  embedded_.voa_insertion_loss = voa_insertion_loss();
  embedded_.preamp_gain =
      embedded_preamp_gain(embedded_.line_calibration, rx_span, embedded_.voa_insertion_loss,
                           embedded_.preamp_default_gain);
  if (is_waiting(gain_watch_, embedded_.preamp_gain)) return;
  embedded_.used_rx_span = rx_span;
  const float present = preamp_->get_gain();
  preamp_->set_gain(embedded_.preamp_gain);
  gain_watch_.wrote(present, embedded_.preamp_gain, helpers::steady_now());
  spans_.used_incoming = rx_span;
  print_data_to_log(false);
}

void line_loop::print_data_to_log(bool attenuation) {
  if (attenuation) {
    LUMORA_LOG(2,
               "Have set attenuation: remote min gain {}, used span_loss: {}, target output power "
               "{}, set attenuation {}, current read attenuation {}",
               embedded_.remote_minimum_gain, embedded_.used_tx_span, embedded_.target_output_power,
               embedded_.attenuation, voa_attenuation());
  } else {
    LUMORA_LOG(2, "Have set preamp gain: {}, calibration: {}, voa_il: {}, used_span_loss: {}",
               embedded_.preamp_gain, embedded_.line_calibration, embedded_.voa_insertion_loss,
               embedded_.used_rx_span);
  }
  LUMORA_LOG(2, "Current spanloss TX: {}", text_of(spans_.used_outgoing));
  LUMORA_LOG(2, "Current spanloss RX: {}", text_of(spans_.used_incoming));
}

}  // namespace manager::loops
