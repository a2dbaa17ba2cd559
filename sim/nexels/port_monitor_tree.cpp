#include "sim/nexels/port_monitor_tree.h"

#include <fmt/format.h>

#include <algorithm>

namespace sim {

namespace {

std::string channel_path(unsigned port, unsigned centre, const char* name) {
  return fmt::format("data/port/{}/channel/{}/{}", port, centre, name);
}

}  // namespace

port_monitor_tree::port_monitor_tree(std::mutex& light, node& of)
    : device_tree("ocm", light),
      node_(of),
      ports_{port{0, &of.booster_monitor, nullptr, nullptr, {}},
             port{1, &of.preamp_monitor, nullptr, nullptr, {}}} {
  for (port& each : ports_) {
    each.plan_loaded =
        add_reading<bool>(fmt::format("data/port/{}/channelPlanLoaded", each.number), false);
    each.total = add_reading<float>(fmt::format("data/port/{}/totalPower", each.number),
                                    static_cast<float>(each.device->total_dbm()));
    add_commands(each);
  }
}

void port_monitor_tree::add_commands(port& of) {
  const auto path = [&](const char* name) {
    return fmt::format("command/port/{}/system/{}", of.number, name);
  };
  add_command<std::string, bool>(path("createChannel"), [this, &of](const std::string& text) {
    const auto request = read_channel(text);
    if (!request || (refuses_known_ && of.channels.contains(request->centre))) return false;
    return add_channel(of, request->centre);
  });
  add_command<std::string, bool>(path("deleteChannel"), [this, &of](const std::string& text) {
    const auto request = read_channel(text);
    return request && remove_channel(of, request->centre);
  });
  add_command<std::string, bool>(path("createChannelPlan"), [this, &of](const std::string& text) {
    const auto requests = read_channels(text);
    if (!requests) return false;
    for (const channel_request& each : *requests)
      add_channel(of, each.centre);
    of.plan_loaded->update(true);
    return true;
  });
  add_command<bool, bool>(path("deleteChannelPlan"), [this, &of](const bool&) {
    clear(of);
    of.plan_loaded->update(true);
    return true;
  });
}

void port_monitor_tree::forget_channels() {
  for (port& each : ports_) {
    clear(each);
    each.plan_loaded->update(false);
  }
}

bool port_monitor_tree::add_channel(port& to, unsigned centre) {
  if (to.channels.contains(centre)) return true;
  const grid& slots = node_.slots;
  const auto at = std::find_if(slots.begin(), slots.end(),
                               [&](const slot& each) { return each.key == centre; });
  const auto floor = static_cast<float>(to.device->settings().floor_dbm);
  to.channels[centre] = channel{static_cast<std::size_t>(at - slots.begin()),
                                add_reading<float>(channel_path(to.number, centre, "power"), floor),
                                add_reading<bool>(channel_path(to.number, centre, "peak"), false)};
  to.plan_loaded->update(true);
  return true;
}

bool port_monitor_tree::remove_channel(port& from, unsigned centre) {
  if (from.channels.erase(centre) == 0) return false;
  db().remove_node(channel_path(from.number, centre, "power"));
  db().remove_node(channel_path(from.number, centre, "peak"));
  return true;
}

void port_monitor_tree::clear(port& of) {
  while (!of.channels.empty())
    remove_channel(of, of.channels.begin()->first);
}

void port_monitor_tree::publish() {
  for (port& of : ports_) {
    of.total->update(static_cast<float>(of.device->total_dbm()));
    for (auto& [centre, each] : of.channels) {
      if (each.slot >= node_.slots.size()) continue;
      each.peak->update(of.device->detected(each.slot));
      each.power->update(static_cast<float>(of.device->power_dbm(each.slot)));
    }
  }
}

}  // namespace sim
