#include "base/manager/loops/measured_spans.h"

#include <algorithm>
#include <cmath>

#include "base/manager/loops/line_arithmetic.h"

namespace manager::loops {

namespace {

constexpr std::size_t history_size = 5;
constexpr float steady_deviation = 0.2f;
constexpr float noticed_change = 0.5f;

}  // namespace

measured_spans::measured_spans() {
  for (auto& each : history_)
    each.set_capacity(history_size);
}

void measured_spans::take(const std::array<float, count>& losses) {
  for (std::size_t i = 0; i < count; ++i) {
    if (!values_[i]) continue;
    values_[i]->update(losses[i]);
    // The value that passed the hysteresis, not the reading itself.
    history_[i].push_back(values_[i]->get_filtered());
  }
}

void measured_spans::take_section(const std::string& section) {
  section_value_->update(section);
  if (section != "na") section_is_oms_ = section == "oms";
  samples_ = std::min(samples_ + 1, wanted_samples);
}

measured_spans::view measured_spans::outgoing() const {
  return view_of(section_is_oms_ ? oms_rx : ots_rx, used_outgoing);
}

measured_spans::view measured_spans::incoming() const {
  return view_of(section_is_oms_ ? oms_tx : ots_tx, used_incoming);
}

measured_spans::view measured_spans::view_of(span which, const std::optional<float>& used) const {
  const float loss = values_[which]->get_filtered();
  return {.loss = loss,
          .deviation = standard_deviation(history_[which]),
          .change = used ? std::fabs(loss - *used) : 0.0f,
          .is_first = !used};
}

bool measured_spans::view::calls_for_setting() const {
  return is_first || (deviation < steady_deviation && change > noticed_change);
}

void measured_spans::forget_samples() {
  for (auto& each : history_)
    each.clear();
  samples_ = 0;
}

void measured_spans::reset() {
  forget_samples();
  used_outgoing.reset();
  used_incoming.reset();
  section_is_oms_ = false;
}

}  // namespace manager::loops
