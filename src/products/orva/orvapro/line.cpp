#include "products/orva/orvapro/line.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <utility>

#include "api/config_param.h"
#include "api/hysteresis_filtered_value.h"
#include "base/guards/dispersion.h"
#include "base/manager/remote/api.h"
#include "helpers/calibration.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_error.h"
#include "products/control_types_full.h"

namespace products::orva::orvapro {

namespace {

constexpr const char* guarded_subject = "compensator";
/// Log levels of an attempt: retries that fail once a second are logged at a lower level.
constexpr int told = 2;
constexpr int untold = 1;

}  // namespace

template <class T>
line<T>::line(std::shared_ptr<::channel::plan<T>> channels,
              std::shared_ptr<::manager::remote::api> remote)
    : base(std::move(channels), std::move(remote)),
      fixed_dcm_dispersion_(calibration::instance().board().fixed_module_ps_nm()) {
  LUMORA_LOG(2, "Creating orva::orvapro::line instance.");
  this->saturation_threshold_ = 4.0f;
  done_with_setting();  // a setting that an earlier line object still had to make is dropped
}

template <class T>
void line<T>::set_dispersion_devices(
    std::shared_ptr<device::interfaces::tdcm> tdcm,
    std::shared_ptr<device::interfaces::optoswitch> optical_switch) {
  const std::lock_guard lock(devices_mutex_);
  tdcm_ = std::move(tdcm);
  optical_switch_ = std::move(optical_switch);
}

template <class T>
device::interfaces::tdcm& line<T>::compensator() {
  const std::lock_guard lock(devices_mutex_);
  if (!tdcm_) throw nx_error(nx_error::invalid, "Dispersion compensator is not set up yet");
  return *tdcm_;
}

template <class T>
dcm_path line<T>::auto_select_fixed_dcm_path() {
  const auto path = path_for(this->get_line_rx_fiber_length());
  const auto number = static_cast<int>(path);
  LUMORA_LOG(attempt_level_, "Selecting optical switch as pathselect path {}", number);
  std::shared_ptr<device::interfaces::optoswitch> optical_switch;
  {
    const std::lock_guard lock(devices_mutex_);
    optical_switch = optical_switch_;
  }
  if (!optical_switch) throw nx_error(nx_error::invalid, "Optical switch is not set up yet");
  if (const int reached = optical_switch->select_path(number); reached != number) {
    LUMORA_LOG(attempt_level_, "Failed to set pathselect. Expected {}, got {}", number, reached);
    throw nx_error(nx_error::invalid,
                   fmt::format("Failed to set pathselect. Expected {}, got {}", number, reached));
  }
  note_path(path);
  return path;
}

template <class T>
void line<T>::note_path(dcm_path path) {
  tdcm_path_ = path;
  working_offset_ = path == dcm_path::with_fixed_dcm ? fixed_dcm_dispersion_ : 0.0f;
  path_known_ = true;
}

template <class T>
void line<T>::set_tdcm(bool automatic, float manual_value) {
  auto& tdcm = compensator();
  const float fiber = this->get_osc_dispersion();
  const auto path = auto_select_fixed_dcm_path();
  LUMORA_LOG(attempt_level_, "Setting dispersion offset to: {}", working_offset_.load());
  float target = automatic_target(path, fixed_dcm_dispersion_, fiber);
  if (!automatic) {
    LUMORA_LOG(attempt_level_, "Detected manual TDCM setting, TDCM: {}", manual_value);
    target = manual_value;
  }
  target = tdcm.limit_dispersion(tdcm.clamp_dispersion(target), automatic);
  const float current = tdcm.get_dispersion();
  LUMORA_LOG(attempt_level_, "Setting TDCM to {}, current: {}", target, current);
  tdcm.set_dispersion(target);
  done_with_setting();
}

template <class T>
void line<T>::done_with_setting() {
  setting_due_ = false;
  helpers::guard_register::instance().end(guards::dispersion_setting, guarded_subject);
}

template <class T>
void line<T>::trigger_initial_tdcm_setting() {
  setting_due_ = true;
  has_failed_ = false;
  make_due_setting();
}

// If a setter holds the lock because a device makes it wait, skip this time and try again later.
template <class T>
void line<T>::make_due_setting() {
  last_attempt_ = helpers::steady_now();
  auto& guard = helpers::guard_register::instance();
  const std::unique_lock lock(setting_mutex_, std::try_to_lock);
  if (!lock) return;
  try {
    if (!this->osc_->is_operational()) {
      return guard.withhold(guards::dispersion_setting, guarded_subject,
                            "the supervisory channel is down, the fibre is not known");
    }
    attempt_level_ = has_failed_ ? untold : told;
    set_tdcm(automatic_, manual_dispersion_);
  } catch (...) {
    guard.begin(guards::dispersion_setting, guarded_subject,
                "compensator or optical switch could not be set");
    if (std::exchange(has_failed_, true)) return;
    this->operational_ = false;
    helpers::log_current_exception();
  }
}

/// After a restart of the daemon alone the light has not changed: the switch has no reading, but it
/// was set according to the fibre's length.
template <class T>
void line<T>::adopt_path() {
  try {
    if (!this->osc_->is_operational()) return;
    note_path(path_for(this->get_line_rx_fiber_length()));
  } catch (...) {
    // The cycle itself has already reported the channel that does not answer.
  }
}

template <class T>
void line<T>::run(nx_db& db, bool regulate, bool coldstart) {
  base::run(db, regulate, coldstart);
  if (guards::is_attempt_due(setting_due_, helpers::steady_now() - last_attempt_))
    return make_due_setting();
  if (!path_known_ && !setting_due_) adopt_path();
}

template <class T>
void line<T>::set_dispersion_settings(const nx::json_document& settings) {
  LUMORA_LOG(2, "Setting manual dispersion settings");
  const auto wanted = read_dispersion_settings(settings);
  LUMORA_LOG(2, "Set dispersion mode to {}, value: {}", wanted.mode, wanted.dispersion);
  compensator().check_dispersion(wanted.dispersion);
  const std::lock_guard lock(setting_mutex_);
  attempt_level_ = told;
  if (wanted.automatic != automatic_ || wanted.dispersion != manual_dispersion_) {
    set_tdcm(wanted.automatic, wanted.dispersion);
  }
  automatic_ = wanted.automatic;
  manual_dispersion_ = wanted.dispersion;
}

template <class T>
float line<T>::get_tdcm_dispersion() {
  return compensator().get_dispersion();
}

template <class T>
float line<T>::get_final_dispersion() {
  return this->get_osc_dispersion() + get_tdcm_dispersion() + working_offset_;
}

template <class T>
nx::json_document line<T>::get_dispersion_settings() {
  if (automatic_) return dispersion_settings_document(true, get_tdcm_dispersion());
  return dispersion_settings_document(false, manual_dispersion_);
}

template <class T>
unsigned line<T>::get_tdcm_path() {
  return static_cast<unsigned>(tdcm_path_.load());
}

template <class T>
float line<T>::get_cal_fiberdisp_offset_ps_nm() {
  return fixed_dcm_dispersion_;
}

template <class T>
std::string line<T>::get_fiber_type() {
  return automatic_ ? "G.652" : "Manual";
}

template <class T>
float line<T>::get_remote_tdcm_dispersion() {
  return this->remote_->get_tdcm_dispersion();
}

template <class T>
float line<T>::get_remote_final_dispersion() {
  return this->remote_->get_final_dispersion();
}

template <class T>
std::string line<T>::get_remote_fiber_type() {
  return this->remote_->get_fiber_type();
}

template <class T>
float line<T>::get_remote_cal_fiberdisp_offset_ps_nm() {
  return this->remote_->get_tdcm_offset();
}

template <class T>
void line<T>::setup_api(nx_db& db) {
  base::setup_api(db);
  LUMORA_LOG(2, "Setting up API for orva::orvapro::line.");
  const auto self = std::static_pointer_cast<line<T>>(this->shared_from_this());
  const auto add = [&]<auto Getter>(const char* path, unsigned interval) {
    this->values_->add_value(nx::api::polled_value<Getter>::create(db, path, self), interval);
  };
  add.template operator()<&line<T>::get_tdcm_dispersion>(
      "local/interface/line/1/data/dispersion/rx/tdcm", 5);
  add.template operator()<&line<T>::get_osc_dispersion>(
      "local/interface/line/1/data/dispersion/rx/osc", 5);
  add.template operator()<&line<T>::get_final_dispersion>(
      "local/interface/line/1/data/dispersion/rx/finalDispersion", 5);
  add.template operator()<&line<T>::get_dispersion_settings>(
      "local/interface/line/1/data/dispersion/rx/dispersionSettings", 1);
  add.template operator()<&line<T>::get_tdcm_path>(
      "local/interface/line/1/data/dispersion/rx/skipDCM", 1);
  add.template operator()<&line<T>::get_cal_fiberdisp_offset_ps_nm>(
      "local/interface/line/1/data/dispersion/rx/dispersionOffset", 1);
  this->values_->add_value(nx::api::config_param<&line<T>::set_dispersion_settings>::create(
                               db, "config/dispersion/rx/dispersionSettings", std::nullopt, self),
                           1);
  add.template operator()<&line<T>::get_fiber_type>(
      "local/interface/line/1/data/dispersion/rx/fiberType", 1);
  add.template operator()<&line<T>::get_remote_tdcm_dispersion>(
      "remote/interface/line/1/data/dispersion/tx/tdcm", 5);
  add.template operator()<&line<T>::get_remote_fiber_type>(
      "remote/interface/line/1/data/dispersion/tx/fiberType", 5);
  add.template operator()<&line<T>::get_remote_final_dispersion>(
      "remote/interface/line/1/data/dispersion/tx/finalDispersion", 5);
  add.template operator()<&line<T>::get_remote_cal_fiberdisp_offset_ps_nm>(
      "remote/interface/line/1/data/dispersion/tx/dispersionOffset", 5);
}

}  // namespace products::orva::orvapro

template class products::orva::orvapro::line<products::orva_control>;
