#include "sim/nexels/amplifier_tree.h"

namespace sim {

amplifier_tree::amplifier_tree(std::string name, std::mutex& light, amplifier& device)
    : device_tree(std::move(name), light), device_(device) {
  const amplifier_settings& of = device.settings();
  const auto gain_db = static_cast<float>(device.set_gain_db());
  gain_ = add_reading<float>("data/gain", gain_db);
  actual_gain_ = add_reading<float>("data/actualGain", gain_db);
  rx_power_ = add_reading<float>("data/rxPower", -60.0F);
  tx_power_ = add_reading<float>("data/txPower", -60.0F);
  enable_ = add_reading<bool>("data/enable", of.enabled);
  loss_of_signal_ = add_reading<unsigned int>("alarms/lossOfSignal/severity", 1U);
  add_reading<float>("data/gainDefault", static_cast<float>(of.gain_db));
  add_reading<float>("data/gainMinThreshold", static_cast<float>(of.min_gain_db));
  add_reading<float>("data/gainMaxThreshold", static_cast<float>(of.max_gain_db));
  power_limit_ = add_reading<float>("data/powerLimit", static_cast<float>(of.power_limit_dbm));
  add_setting<float>("config/gain", gain_db, [this](const float& wanted) {
    device_.set_gain(static_cast<double>(wanted));
    gain_->update(wanted);
  });
  add_setting<bool>("config/enable", of.enabled, [this](const bool& on) {
    device_.set_enabled(on);
    enable_->update(on);
  });
}

void amplifier_tree::publish() {
  actual_gain_->update(static_cast<float>(device_.shown_gain_db()));
  rx_power_->update(static_cast<float>(device_.input().reading_dbm()));
  tx_power_->update(static_cast<float>(device_.output().reading_dbm()));
  power_limit_->update(static_cast<float>(device_.settings().power_limit_dbm));
  loss_of_signal_->update(device_.loss_of_signal() ? 1U : 0U);
}

}  // namespace sim
