#include "sim/nexels/panel_trees.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "platform/wire/nx_error.h"

namespace sim {

namespace {

void require_colour(const std::string& colour) {
  constexpr std::array colours{"off", "green", "yellow", "orange", "red"};
  if (std::find(colours.begin(), colours.end(), colour) != colours.end()) return;
  throw nx_error(
      nx_error::invalid,
      "colour: found '" + colour + "', accepted are 'off', 'green', 'yellow', 'orange' and 'red'");
}

}  // namespace

system_info_tree::system_info_tree(std::mutex& light, const node_settings& settings)
    : device_tree("system_info", light) {
  add_reading<std::string>("inventory/partNumber", settings.part_number);
  add_reading<std::string>("data/swVersion", "1.0.0");
  add_reading<std::string>("inventory/hwRevision", "R1A");
}

system_start_tree::system_start_tree(std::mutex& light, const node_settings& settings)
    : device_tree("system_start", light) {
  add_reading<bool>("data/systemColdstart", settings.coldstart);
}

led_tree::led_tree(std::mutex& light, const models::front_panel& leds)
    : device_tree("led_selka", light) {
  add_reading<bool>("data/configStatus", true);
  add_pair("line/1");
  for (unsigned n = 1; n <= leds.clients; ++n)
    add_pair(fmt::format("client/{}", n));
  for (unsigned n = 1; n <= leds.cross_connects; ++n)
    add_pair(fmt::format("xc/{}", n));
}

void led_tree::add_pair(const std::string& port) {
  for (const char* side : {"rxLed", "txLed"}) {
    auto shown = add_reading<std::string>(fmt::format("data/{}/{}/status", port, side), "off");
    add_command<std::string, bool>(fmt::format("command/{}/{}/status", port, side),
                                   [shown](const std::string& colour) {
                                     require_colour(colour);
                                     shown->update(colour);
                                     return true;
                                   });
  }
}

}  // namespace sim
