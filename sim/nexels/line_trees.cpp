#include "sim/nexels/line_trees.h"

#include <cmath>

namespace sim {

voa_tree::voa_tree(std::mutex& light, line_voa& device)
    : device_tree("voa_sfp", light), device_(device) {
  const auto attenuation_db = static_cast<float>(device.shown_attenuation_db());
  add_reading<std::string>("data/operStatus", "up");
  attenuation_ = add_reading<float>("data/attenuation", attenuation_db);
  add_reading<float>("data/insertionLoss", static_cast<float>(device.settings().insertion_loss_db));
  add_setting<float>("config/attenuation", attenuation_db, [this](const float& wanted) {
    device_.set_attenuation(static_cast<double>(wanted));
  });
}

void voa_tree::publish() {
  attenuation_->update(static_cast<float>(device_.shown_attenuation_db()));
}

osc_tree::osc_tree(std::mutex& light, supervisory_channel& device)
    : device_tree("osc1", light), device_(device) {
  state_ = add_reading<std::string>("data/debug/state", "searching");
  neighbour_ = add_reading<std::string>("data/neighbour", "");
  fibre_length_ = add_reading<float>("data/fiberLength", 0.0F);
  fibre_dispersion_ = add_reading<float>("data/fiberDispersion", 0.0F);
  loss_of_link_ = add_reading<unsigned int>("alarms/lossOfLink/severity", 1U);
}

void osc_tree::publish() {
  const bool ready = device_.ready();
  state_->update(ready ? "ready" : "searching");
  neighbour_->update(ready ? device_.settings().neighbour : std::string());
  fibre_length_->update(static_cast<float>(device_.fibre_km()));
  fibre_dispersion_->update(static_cast<float>(device_.dispersion_ps_per_nm()));
  loss_of_link_->update(ready ? 0U : 1U);
}

sfp_tree::sfp_tree(std::mutex& light, supervisory_channel& device)
    : device_tree("sfp/0", light), device_(device) {
  add_reading<bool>("present", true);
  rx_power_ = add_reading<float>("data/rxPower", -60.0F);
  tx_power_ = add_reading<float>("data/txPower", -60.0F);
  oper_status_ = add_reading<std::string>("data/operStatus", "down");
  loss_of_signal_ = add_reading<unsigned int>("alarms/lossOfSignal/severity", 1U);
}

void sfp_tree::publish() {
  rx_power_->update(static_cast<float>(device_.input().reading_dbm()));
  tx_power_->update(static_cast<float>(device_.output().reading_dbm()));
  oper_status_->update(device_.has_light() ? "up" : "down");
  loss_of_signal_->update(device_.has_light() ? 0U : 1U);
}

}  // namespace sim
