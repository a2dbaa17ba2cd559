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
constexpr unsigned wanted_samples = 5;
constexpr float lowest_plausible_loss = -1.0f;
constexpr float steady_deviation = 0.2f;
constexpr float noticed_change = 0.5f;
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
  read_spanloss_section();
  spanloss_samples_ = std::min(spanloss_samples_ + 1, wanted_samples);
  if (spanloss_samples_ < wanted_samples) {
    return judge(line_reason::few_spans,
                 {static_cast<float>(spanloss_samples_), static_cast<float>(wanted_samples)});
  }
  const auto tx = section_is_oms_ ? view_of_span(remote_spanloss_oms_rx_, "oms_tx", used_tx_span_)
                                  : view_of_span(remote_spanloss_ots_rx_, "ots_tx", used_tx_span_);
  const auto rx = section_is_oms_ ? view_of_span(remote_spanloss_oms_tx_, "oms_rx", used_rx_span_)
                                  : view_of_span(remote_spanloss_ots_tx_, "ots_rx", used_rx_span_);
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

/// One row per span of the peer: what it is, the node that shows it under the peer's name, and the
/// history under this node's name.
struct remote_span {
  operation what;
  line_loop::pushed_float line_loop::*node;
  const char* history;

  static const std::array<remote_span, 4> all;
};

const std::array<remote_span, 4> remote_span::all{{
    {operation::get_oms_spanloss_tx, &line_loop::remote_spanloss_oms_tx_, "oms_rx"},
    {operation::get_oms_spanloss_rx, &line_loop::remote_spanloss_oms_rx_, "oms_tx"},
    {operation::get_ots_spanloss_tx, &line_loop::remote_spanloss_ots_tx_, "ots_rx"},
    {operation::get_ots_spanloss_rx, &line_loop::remote_spanloss_ots_rx_, "ots_tx"},
}};

// All four, for the fibre since it was opened.
bool line_loop::are_spans_known() const {
  return std::all_of(remote_span::all.begin(), remote_span::all.end(),
                     [this](const remote_span& span) {
                       const auto loss = peer_.known(span.what);
                       return loss && peer_.is_told_since(*loss, spans_since_);
                     });
}

bool line_loop::take_spanloss_samples() {
  const auto& spans = remote_span::all;
  std::array<float, remote_span::all.size()> losses{};
  try {
    std::transform(spans.begin(), spans.end(), losses.begin(),
                   [this](const remote_span& span) { return remote_->get<float>(span.what); });
  } catch (const nx_error&) {
    begin_guard(guards::line_known, "the peer does not report its spans");
    judge(line_reason::spans_not_known);
    return false;
  }
  if (std::any_of(losses.begin(), losses.end(),
                  [](float loss) { return loss < lowest_plausible_loss; })) {
    reset_spanloss_history();
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
  for (std::size_t i = 0; i < spans.size(); ++i) {
    const auto& node = this->*spans[i].node;
    if (!node) continue;
    node->update(losses[i]);
    // The value that passed the hysteresis, not the reading itself.
    spanloss_history_.at(spans[i].history).push_back(node->get_filtered());
  }
  return true;
}

void line_loop::read_spanloss_section() {
  const auto section = remote_->get_spanloss_section();
  remote_spanloss_section_->update(section);
  if (section != "na") section_is_oms_ = section == "oms";
}

line_loop::span_view line_loop::view_of_span(const pushed_float& node, const char* history,
                                             const std::optional<float>& used) const {
  const float loss = node->get_filtered();
  return {.loss = loss,
          .deviation = standard_deviation(spanloss_history_.at(history)),
          .change = used ? std::fabs(loss - *used) : 0.0f,
          .is_first = !used};
}

bool line_loop::span_view::calls_for_setting() const {
  return is_first || (deviation < steady_deviation && change > noticed_change);
}

// A setting counts as made once it has been written and the device shows it; a lost one is made
// again.
void line_loop::take_back_unanswered_settings() {
  if (voa_) read_voa();
  gain_watch_.look(preamp_->get_gain());
  if (!voa_watch_.has_answered()) used_tx_span_.reset();
  if (!gain_watch_.has_answered()) used_rx_span_.reset();
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
  used_tx_span_ = tx_span;
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
  used_rx_span_ = rx_span;
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
  LUMORA_LOG(2, "Current spanloss TX: {}", text_of(used_tx_span_));
  LUMORA_LOG(2, "Current spanloss RX: {}", text_of(used_rx_span_));
}

}  // namespace manager::loops
