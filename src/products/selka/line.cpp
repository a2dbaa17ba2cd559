#include "products/selka/line.h"

#include <cmath>

#include "api/config_param.h"
#include "base/manager/automation.h"
#include "base/manager/leds.h"
#include "helpers/calibration.h"
#include "helpers/logger.h"
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
    set_preamp_gain(this->get_line_rx_loss());
  } catch (...) {
    LUMORA_LOG_DIRECT(3, "manage_line", "Not possible to set preamp gain in managedCLI mode.");
  }
}

template <class T>
void line<T>::manage_line(nx_db& db, bool) {
  switch (automation::instance().get()) {
    case automation_mode::managed_cli:
      follow_measured_span();
      break;
    case automation_mode::managed_netconf:
      break;
    default:
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

template <class T>
void line<T>::set_preamp_gain(float span_loss) {
  constexpr double close_enough_db = 0.1;
  const float maximum = this->preamp_->get_max_gain();
  const float minimum = this->preamp_->get_min_gain();
  const float line_calibration = calibration::instance().get_value("cal_linerx_to_preamprx");
  const float gain =
      preamp_gain(span_loss, line_calibration, this->voa_->get_insertion_loss(), minimum, maximum);
  if (std::fabs(double{gain} - double{this->preamp_->get_gain()}) <= close_enough_db) return;
  LUMORA_LOG(2, "Setting Preamp gain to {}.", gain);
  this->preamp_->set_gain(gain);
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
