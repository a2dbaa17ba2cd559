// The regulator against an in-line amplifier, which has no channels but measures the spans for this
// node: VOA and preamp gain are set from them once, and again when a span has moved and is steady.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"
#include "base/manager/remote/api.h"
#include "helpers/calibration.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace manager::loops {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds check_pause = 5s - 1ns;
constexpr unsigned wanted_samples = 5;
constexpr float lowest_plausible_loss = -1.0f;
constexpr float steady_deviation = 0.2f;
constexpr float noticed_change = 0.5f;
constexpr float embedded_bandwidth_ghz = 150.0f;

std::chrono::system_clock::time_point now() {
  return helpers::waiting::instance().system_now();
}

std::string text_of(const std::optional<float>& value) {
  return value ? fmt::format("{}", *value) : "not set";
}

}  // namespace

void line_loop::manage_embedded_ila_line(nx_db&, bool regulate) {
  operational_ = true;
  if (!regulate) {
    LUMORA_LOG(0, "Line regulation is disabled");
    return;
  }
  if (!osc_->is_operational() || !is_spanloss_check_due()) return;
  if (!take_spanloss_samples()) return;
  read_spanloss_section();
  spanloss_samples_ = std::min(spanloss_samples_ + 1, wanted_samples);
  if (spanloss_samples_ < wanted_samples) return;
  const auto tx = section_is_oms_ ? view_of_span(remote_spanloss_oms_rx_, "oms_tx", used_tx_span_)
                                  : view_of_span(remote_spanloss_ots_rx_, "ots_tx", used_tx_span_);
  const auto rx = section_is_oms_ ? view_of_span(remote_spanloss_oms_tx_, "oms_rx", used_rx_span_)
                                  : view_of_span(remote_spanloss_ots_tx_, "ots_rx", used_rx_span_);
  if (tx.calls_for_setting() && voa_) set_voa_from_span(tx.loss);
  if (rx.calls_for_setting()) set_preamp_from_span(rx.loss);
  last_spanloss_check_ = now();
}

bool line_loop::is_spanloss_check_due() {
  if (!last_spanloss_check_) {
    last_spanloss_check_ = now();
    return false;
  }
  return now() - *last_spanloss_check_ > check_pause;
}

/// One row a span of the peer: how it is read, the node that shows it under the peer's name, and
/// the history under this node's name.
struct remote_span {
  float (manager::remote::api::*read)();
  line_loop::pushed_float line_loop::*node;
  const char* history;
};

bool line_loop::take_spanloss_samples() {
  using remote::api;
  static constexpr std::array spans{
      remote_span{&api::get_oms_spanloss_tx, &line_loop::remote_spanloss_oms_tx_, "oms_rx"},
      remote_span{&api::get_oms_spanloss_rx, &line_loop::remote_spanloss_oms_rx_, "oms_tx"},
      remote_span{&api::get_ots_spanloss_tx, &line_loop::remote_spanloss_ots_tx_, "ots_rx"},
      remote_span{&api::get_ots_spanloss_rx, &line_loop::remote_spanloss_ots_rx_, "ots_tx"},
  };
  std::array<float, spans.size()> losses{};
  std::transform(spans.begin(), spans.end(), losses.begin(),
                 [this](const remote_span& span) { return (remote_.get()->*span.read)(); });
  if (std::any_of(losses.begin(), losses.end(),
                  [](float loss) { return loss < lowest_plausible_loss; })) {
    reset_spanloss_history();
    LUMORA_LOG(2, "Failed to read spanloss values, skipping regulation");
    return false;
  }
  for (std::size_t i = 0; i < spans.size(); ++i) {
    const auto& node = this->*spans[i].node;
    if (!node) continue;
    node->update(losses[i]);
    // What the hysteresis let through, not the reading itself.
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

void line_loop::set_voa_from_span(float tx_span) {
  used_tx_span_ = tx_span;
  embedded_.remote_minimum_gain = remote_->get_preamp_default_gain();
  embedded_.target_output_power = embedded_target_power(tx_span, embedded_.remote_minimum_gain);
  embedded_.attenuation = std::max(
      calculate_voa_attenuation(embedded_.target_output_power, embedded_bandwidth_ghz), 0.0f);
  embedded_.used_tx_span = tx_span;
  voa_->set_attenuation(embedded_.attenuation);
  print_data_to_log(true);
}

void line_loop::set_preamp_from_span(float rx_span) {
  used_rx_span_ = rx_span;
  embedded_.preamp_default_gain = preamp_->get_default_gain();
  embedded_.line_calibration = calibration::instance().get_value("cal_linerx_to_preamprx");
  embedded_.voa_insertion_loss = voa_insertion_loss();
  embedded_.preamp_gain =
      embedded_preamp_gain(embedded_.line_calibration, rx_span, embedded_.voa_insertion_loss,
                           embedded_.preamp_default_gain);
  embedded_.used_rx_span = rx_span;
  preamp_->set_gain(embedded_.preamp_gain);
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
