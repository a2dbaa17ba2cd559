#include "base/channel/base.h"

#include <fmt/format.h>

#include "api/const_value.h"
#include "base/channel/arithmetic.h"
#include "helpers/calibration.h"
#include "helpers/logger.h"
#include "platform/wire/nx_error.h"

namespace channel {

base::base() : values_(nx::api::value_group::create(1)) {}

void base::set_value_group(std::shared_ptr<nx::api::value_group> group) {
  values_ = std::move(group);
}
std::shared_ptr<nx::api::value_group> base::get_value_group() {
  return values_;
}

unsigned base::get_id() {
  return id_;
}
void base::set_id(unsigned id) {
  id_ = id;
}
unsigned base::get_channel_id() {
  return id_;
}

std::string base::get_direction() {
  return direction_;
}
void base::set_direction(std::string direction) {
  direction_ = std::move(direction);
  loss_offset_db_.reset();
}

float base::get_width() {
  return width_ghz(width_);
}
unsigned base::get_raw_width() {
  return width_;
}
void base::set_width(unsigned width) {
  width_ = width;
}

std::string base::get_created_version() {
  return created_version_;
}
void base::set_created_version(std::string version) {
  created_version_ = std::move(version);
}

float base::get_ocm_power() {
  return ocm_power_;
}

void base::set_ocm_power(float power) {
  if (power == ocm_power_) return;
  ocm_power_ = power;
  ocm_power_value_->update(power);
  update_power();
  ++power_updates_;
}

unsigned base::get_center_frequency() {
  return center_frequency_;
}

void base::set_center_frequency(unsigned frequency) {
  center_frequency_ = frequency;
  wavelength_ = wavelength_nm(frequency);
}

float base::get_wavelength() {
  return wavelength_;
}

bool base::get_peak() {
  return peak_ && peak_->get_last_sent();
}

void base::set_peak(bool peak) {
  peak_->update(peak);
  status_->update(peak ? "up" : "down");
}

float base::get_attenuation() {
  return attenuation_ ? attenuation_->get_last_sent() : 0.0f;
}
float base::set_attenuation(float attenuation) {
  return attenuation_->update(attenuation);
}

unsigned base::get_wss_port() {
  return wss_port_;
}
void base::set_wss_port(unsigned port) {
  wss_port_ = port;
}

bool base::is_api_ready() {
  return api_ready_;
}

unsigned base::get_power_updates() {
  return power_updates_;
}
void base::reset_power_updates() {
  power_updates_ = 0;
}

std::string base::value_path(const char* name) const {
  return fmt::format("data/client/{}/{}/{}", id_.load(), direction_, name);
}

void base::create_constants(nx_db& db) {
  using nx::api::const_value;
  values_->add_value(const_value<unsigned>::create(db, value_path("channelId"), get_channel_id()),
                     0);
  values_->add_value(const_value<float>::create(db, value_path("width"), get_width()), 0);
  values_->add_value(const_value<float>::create(db, value_path("waveLength"), wavelength_), 0);
  values_->add_value(const_value<unsigned>::create(db, value_path("wssPort"), wss_port_), 0);
  values_->add_value(
      const_value<std::string>::create(db, value_path("createdVersion"), created_version_), 0);
}

void base::setup_api(nx_db& db) {
  using nx::api::status_value;
  create_constants(db);
  power_ = status_value<float>::create(db, value_path("power"), 0.0f, 1);
  attenuation_ = status_value<float>::create(db, value_path("attenuation"), 0.0f, 1);
  peak_ = status_value<bool>::create(db, value_path("peak"), false, 1);
  status_ = status_value<std::string>::create(db, value_path("status"), "down", 1);
  ocm_power_value_ = status_value<float>::create(db, value_path("ocm/power"), 0.0f, 1);
  wanted_power_offset_ = status_value<float>::create(db, value_path("wantedPowerOffset"), 0.0f, 1);
  LUMORA_LOG(2, "Created API for channel {} in direction {}", id_.load(), direction_);
  api_ready_ = true;
}

void base::set_alarm(nx_db& db, const std::string& name, unsigned severity) {
  auto& alarm = alarms_[name];
  if (alarm) {
    alarm->update(severity);
    return;
  }
  alarm = nx::api::status_value<unsigned>::create(
      db, fmt::format("alarms/client/{}/{}/{}/severity", id_.load(), direction_, name), severity,
      1);
}

void base::set_loss_offset_index(unsigned index) {
  loss_offset_index_ = index;
  loss_offset_db_.reset();
}

float base::loss_offset_db() {
  if (!loss_offset_db_) {
    loss_offset_db_ = calibration::instance().find(
        fmt::format("cal_client{}_loss_offset_{}", direction_, loss_offset_index_));
  }
  return (*loss_offset_db_)();
}

void base::update_power() {
  const auto& board = calibration::instance().board();
  const bool is_rx = direction_ == "rx";
  const float loss_offset = loss_offset_db();
  const float monitor_loss = is_rx ? board.clientrx_to_mon_db() : board.mon_to_clienttx_db();
  if (is_rx) {
    publish_power(client_power_rx(ocm_power_, monitor_loss, get_attenuation(), loss_offset));
  } else if (direction_ == "tx") {
    publish_power(client_power_tx(ocm_power_, monitor_loss, get_attenuation(), loss_offset));
  } else {
    throw nx_error(nx_error::invalid, fmt::format("Invalid channel direction {}", direction_));
  }
}

void base::publish_power(float power) {
  power_->update(power);
}

float base::set_wanted_power_offset(float offset) {
  return wanted_power_offset_->update(offset);
}

float base::get_wanted_power_offset() const {
  return wanted_power_offset_ ? wanted_power_offset_->get_last_sent() : 0.0f;
}

}  // namespace channel
