#include "sim/nexels/twin_switch_tree.h"

#include <fmt/format.h>

#include <algorithm>

namespace sim {

namespace {

constexpr float blocked_above_db = 50.0F;
constexpr float blocked_db = 100.0F;

std::string data_path(const char* word, unsigned centre) {
  return fmt::format("data/module/{}/channel/{}/attenuation", word, centre);
}

std::string port_path(const char* word, unsigned centre) {
  return fmt::format("config/module/{}/channel/{}/port", word, centre);
}

/// A new attenuation in the store counts as a write to this path.
std::string stored_path(const char* word, unsigned centre) {
  return fmt::format("config/module/{}/channel/{}/attenuation", word, centre);
}

}  // namespace

twin_switch_tree::twin_switch_tree(std::mutex& light, node& of)
    : device_tree("wss", light),
      node_(of),
      modules_{module{"add", &of.add_switch, nullptr, {}},
               module{"drop", &of.drop_switch, nullptr, {}}} {
  for (module& each : modules_) {
    for (std::size_t i = 0; i < of.slots.size(); ++i)
      each.device->set_configured(i, false);
    each.plan_loaded =
        add_reading<bool>(fmt::format("data/module/{}/channelPlanLoaded", each.word), false);
    add_commands(each);
  }
}

void twin_switch_tree::add_commands(module& of) {
  const auto path = [&](const char* name) {
    return fmt::format("command/module/{}/{}", of.word, name);
  };
  add_command<std::string, bool>(path("addChannel"), [this, &of](const std::string& text) {
    const auto request = read_channel(text);
    if (!request || (refuses_known_ && of.channels.contains(request->centre))) return false;
    return add_channel(of, *request);
  });
  add_command<std::string, bool>(path("removeChannel"), [this, &of](const std::string& text) {
    const auto request = read_channel(text);
    return request && remove_channel(of, request->centre);
  });
  add_command<std::string, bool>(path("addChannels"), [this, &of](const std::string& text) {
    const auto requests = read_channels(text);
    if (!requests) return false;
    for (const channel_request& each : *requests)
      add_channel(of, each);
    of.plan_loaded->update(true);
    return true;
  });
  add_command<bool, bool>(path("removeAllChannels"), [this, &of](const bool&) {
    clear(of);
    of.plan_loaded->update(true);
    return true;
  });
}

void twin_switch_tree::forget_channels() {
  for (module& each : modules_) {
    clear(each);
    each.plan_loaded->update(false);
  }
}

bool twin_switch_tree::add_channel(module& to, const channel_request& request) {
  // Loading a plan again does not disturb the light of channels that are already there.
  if (to.channels.contains(request.centre)) return true;
  const grid& slots = node_.slots;
  const auto at = std::find_if(slots.begin(), slots.end(),
                               [&](const slot& each) { return each.key == request.centre; });
  const auto index = static_cast<std::size_t>(at - slots.begin());
  if (index < slots.size()) {
    to.device->set_configured(index, true);
    to.device->set_blocked(index, true);
  }
  auto attenuation = add_reading<float>(data_path(to.word, request.centre), blocked_db);
  add_setting<unsigned int>(port_path(to.word, request.centre), request.port,
                            [](const unsigned int&) {});
  to.channels[request.centre] = channel{index, std::move(attenuation), blocked_db};
  to.plan_loaded->update(true);
  return true;
}

bool twin_switch_tree::remove_channel(module& from, unsigned centre) {
  const auto at = from.channels.find(centre);
  if (at == from.channels.end()) return false;
  if (at->second.slot < node_.slots.size()) from.device->set_configured(at->second.slot, false);
  from.channels.erase(at);
  db().remove_node(data_path(from.word, centre));
  db().remove_node(port_path(from.word, centre));
  return true;
}

void twin_switch_tree::clear(module& of) {
  while (!of.channels.empty())
    remove_channel(of, of.channels.begin()->first);
}

void twin_switch_tree::follow(module& of, unsigned centre, channel& each) {
  const auto stored = source_(of.word, centre);
  if (!stored) return;
  const auto wanted = static_cast<float>(*stored);
  if (wanted == each.last_wanted) return;
  each.last_wanted = wanted;
  try {
    writes().pass(stored_path(of.word, centre), [this, &of, centre, wanted_db = *stored] {
      const auto at = of.channels.find(centre);
      if (at != of.channels.end()) attenuate(of, at->second, wanted_db);
    });
  } catch (const nx_error&) {
    // Refused, and nobody waits for an answer.
  }
}

void twin_switch_tree::attenuate(module& of, channel& each, double wanted_db) {
  const bool dark = each.slot >= node_.slots.size();
  if (dark) {
    each.attenuation->update(static_cast<float>(wanted_db));
    return;
  }
  const bool block = static_cast<float>(wanted_db) > blocked_above_db;
  if (block != of.device->blocked(each.slot)) of.device->set_blocked(each.slot, block);
  if (block) return;
  const double most_db = of.device->settings().max_attenuation_db;
  of.device->set_attenuation(each.slot, std::clamp(wanted_db, 0.0, most_db));
}

void twin_switch_tree::publish() {
  for (module& of : modules_) {
    for (auto& [centre, each] : of.channels) {
      if (source_) follow(of, centre, each);
      if (each.slot >= node_.slots.size()) continue;
      const bool block = of.device->blocked(each.slot);
      each.attenuation->update(
          block ? blocked_db : static_cast<float>(of.device->shown_attenuation_db(each.slot)));
    }
  }
}

}  // namespace sim
