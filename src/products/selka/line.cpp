#include "products/selka/line.h"

#include <cmath>

#include "api/config_param.h"
#include "base/guards/line_span.h"
#include "base/manager/automation.h"
#include "base/manager/leds.h"
#include "helpers/calibration.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "products/control_types_full.h"

namespace products::selka {

float preamp_gain(float span_loss, float line_calibration, float voa_insertion_loss, float minimum,
                  float maximum) {
  float gain = 2 * line_calibration + voa_insertion_loss + span_loss;
  if (!(minimum < gain)) gain = minimum;
  if (!(gain < maximum)) gain = maximum;
  return gain;
}

template <class T>
void line<T>::follow_measured_span() {
  try {
    const auto span = this->known_rx_span();
    if (!span) {
      this->judge_unknown_span();
      return this->begin_guard(guards::line_known, "the span is not known");
    }
    this->note_known_span();
    this->judge(base::line_reason::gain_fits, {*span});
    follow_span(*span);
    this->end_guard(guards::line_known);
  } catch (...) {
    this->judge(base::line_reason::failed, {}, helpers::current_exception_text());
    LUMORA_LOG_DIRECT(3, "manage_line", "Not possible to set preamp gain in managedCLI mode.");
  }
}

// Like the parameter's setter; a gain that the preamp does not accept is written again at growing
// intervals.
template <class T>
void line<T>::follow_span(float span_loss) {
  const auto now = helpers::steady_now();
  const auto gain = read_gain(span_loss);
  this->gain_watch_.look(gain.present);
  if (gain.is_close()) return;
  if (this->gain_watch_.decide_setting(gain.wanted, now).what ==
      guards::attenuator_watch::verdict::waiting) {
    return;
  }
  write_gain(gain);
  this->gain_watch_.wrote(gain.present, gain.wanted, now);
}

template <class T>
void line<T>::manage_line(nx_db& db, bool) {
  switch (automation::instance().get()) {
    case automation_mode::managed_cli:
      follow_measured_span();
      break;
    case automation_mode::managed_netconf:
      this->end_guard(guards::line_known);
      this->judge(base::line_reason::managed_elsewhere);
      break;
    default:
      this->judge(base::line_reason::node_leaves_alone, {},
                  "automation mode embedded sets it only with an in-line amplifier as the peer");
      LUMORA_LOG_DIRECT(3, "manage_line",
                        "Automationmode neither managedCLI mode nor managedNetconfMode");
  }
  this->update_alarm(db, "lossOfSignal", this->preamp_->has_los());
  this->leds_->set_line_rx_los(this->preamp_->has_los());
}

template <class T>
float line<T>::get_wanted_power() {
  constexpr float default_power = 5.0f;
  if (automation::instance().get() == automation_mode::embedded) return default_power;
  return this->wanted_power_.load().value_or(default_power);
}

bool gain_setting::is_close() const {
  constexpr double close_enough_db = 0.1;
  return std::fabs(double{wanted} - double{present}) <= close_enough_db;
}

template <class T>
gain_setting line<T>::read_gain(float span_loss) {
  std::vector<device::read_wish> wishes;
  this->preamp_->declare_gain_reads(wishes);
  this->voa_->declare_reads(wishes);
  if (auto* reads = device::cycle_reads::current()) reads->ask_ahead(wishes);
  const float maximum = this->preamp_->get_max_gain();
  const float minimum = this->preamp_->get_min_gain();
  const float line_calibration = calibration::instance().board().linerx_to_preamprx_db();
  const float gain =
      preamp_gain(span_loss, line_calibration, this->voa_->get_insertion_loss(), minimum, maximum);
  return {.present = this->preamp_->get_gain(), .wanted = gain};
}

template <class T>
void line<T>::write_gain(const gain_setting& gain) {
  LUMORA_LOG(2, "Setting Preamp gain to {}.", gain.wanted);
  this->preamp_->set_gain(gain.wanted);
}

template <class T>
void line<T>::set_preamp_gain(float span_loss) {
  device::cycle_reads reads;
  const device::cycle_reads::scope scope(reads);
  const auto gain = read_gain(span_loss);
  if (!gain.is_close()) write_gain(gain);
}

template <class T>
void line<T>::set_span_loss_receive(float span_loss) {
  LUMORA_LOG(2, "Span loss receive set to {}.", span_loss);
  set_preamp_gain(span_loss);
}

template <class T>
void line<T>::setup_api(nx_db& db) {
  base::setup_api(db);
  const auto self = std::static_pointer_cast<line<T>>(this->shared_from_this());
  this->values_->add_value(nx::api::config_param<&line<T>::set_span_loss_receive>::create(
                               db, "config/netconf/spanlossReceive", std::nullopt, self),
                           0);
}

}  // namespace products::selka

template class products::selka::line<products::selka_control>;
template class products::selka::line<products::selkaplus_control>;
