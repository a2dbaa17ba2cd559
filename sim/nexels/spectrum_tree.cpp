#include "sim/nexels/spectrum_tree.h"

#include <fmt/format.h>

#include "platform/wire/nx_error.h"

namespace sim {

spectrum_tree::spectrum_tree(std::mutex& light, node& of) : device_tree("wss_edge", light) {
  add_reading<std::string>("data/moduleStatus", "operational");
  modules_.reserve(2);
  add_module(1, of.add_switch, of.booster_monitor, of);
  add_module(2, of.drop_switch, of.preamp_monitor, of);
}

void spectrum_tree::add_module(unsigned number, wave_switch& device, channel_monitor& monitor,
                               const node& of) {
  module& added = modules_.emplace_back(module{&device, &monitor, nullptr, {}, 0});
  added.total = add_reading<float>(fmt::format("data/ocm/{}/totalPower", number),
                                   static_cast<float>(monitor.total_dbm()));
  const auto& model = model_of(of.settings);
  for (std::size_t i = 0; i < of.slots.size(); ++i) {
    const unsigned channel = models::device_channel(model, of.slots[i].key);
    added.channels.emplace_back();
    add_switch_channel(added, number, i, channel);
    add_monitor_channel(added, number, channel);
  }
  const auto level = static_cast<float>(monitor.detect_level_dbm());
  add_setting<float>(fmt::format("config/ocm/{}/channelDetectLevel", number), level,
                     [this, number](const float& wanted) {
                       module& of_number = modules_[number - 1];
                       of_number.monitor->set_detect_level(static_cast<double>(wanted));
                       publish_monitor(of_number);
                     });
}

void spectrum_tree::add_switch_channel(module& to, unsigned number, std::size_t slot,
                                       unsigned channel) {
  channel_readings& readings = to.channels.back();
  wave_switch* device = to.device;
  const auto attenuation_db = static_cast<float>(device->shown_attenuation_db(slot));
  const auto path = [&](const char* group, const char* name) {
    return fmt::format("{}/wss/{}/channel/{}/{}", group, number, channel, name);
  };
  readings.attenuation = add_reading<float>(path("data", "attenuation"), attenuation_db);
  readings.port = add_reading<std::string>(path("data", "port"), "on");
  add_setting<float>(path("config", "attenuation"), attenuation_db,
                     [device, slot](const float& wanted) {
                       device->set_attenuation(slot, static_cast<double>(wanted));
                     });
  add_setting<std::string>(path("config", "port"), "on",
                           [device, slot, port = readings.port](const std::string& wanted) {
                             if (wanted != "on" && wanted != "off") {
                               throw nx_error(
                                   nx_error::invalid,
                                   "port: found '" + wanted + "', accepted are 'on' and 'off'");
                             }
                             device->set_blocked(slot, wanted == "off");
                             port->update(wanted);
                           });
}

void spectrum_tree::add_monitor_channel(module& to, unsigned number, unsigned channel) {
  channel_readings& readings = to.channels.back();
  const auto path = [&](const char* name) {
    return fmt::format("data/ocm/{}/channel/{}/{}", number, channel, name);
  };
  readings.power =
      add_reading<float>(path("powerLevel"), static_cast<float>(to.monitor->settings().floor_dbm));
  readings.detected = add_reading<bool>(path("detected"), false);
  readings.detect_level =
      add_reading<float>(path("detectLevel"), static_cast<float>(to.monitor->detect_level_dbm()));
}

void spectrum_tree::publish_switch(module& of) {
  for (std::size_t i = 0; i < of.channels.size(); ++i) {
    of.channels[i].attenuation->update(static_cast<float>(of.device->shown_attenuation_db(i)));
  }
}

void spectrum_tree::publish_monitor(module& of) {
  const auto level = static_cast<float>(of.monitor->detect_level_dbm());
  for (std::size_t i = 0; i < of.channels.size(); ++i) {
    of.channels[i].detected->update(of.monitor->detected(i));
    of.channels[i].power->update(static_cast<float>(of.monitor->power_dbm(i)));
    of.channels[i].detect_level->update(level);
  }
  of.total->update(static_cast<float>(of.monitor->total_dbm()));
}

void spectrum_tree::publish() {
  for (module& of : modules_) {
    publish_switch(of);
    if (of.monitor->passes() == of.shown_passes) continue;
    of.shown_passes = of.monitor->passes();
    publish_monitor(of);
  }
}

}  // namespace sim
