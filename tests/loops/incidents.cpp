#include "tests/loops/incidents.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "platform/kvs_client/kvs_client.h"
#include "tests/support/tree_values.h"

namespace test {

namespace {

constexpr const char* devices[] = {"wss_edge", "booster", "preamp", "osc1", "voa_sfp", "sfp/0"};

struct device_fault {
  sim::nexel_state state;
  const char* name;
};
constexpr device_fault device_faults[] = {{sim::nexel_state::killed, "killed"},
                                          {sim::nexel_state::hung, "hung"},
                                          {sim::nexel_state::refusing, "refusing"}};

const auto nothing = [] {};

sim::direction any_side(unsigned number) {
  return number == 0 ? sim::direction::rx : sim::direction::tx;
}

}  // namespace

incident incident_source::draw() {
  const unsigned node = below(2);
  switch (below(13)) {
    case 0:
    case 1:
    case 2:
      return broken_device(node);
    case 3:
      return lost_peer(node);
    case 4:
      return restarted_manager(node);
    case 5:
      return lost_store();
    case 6:
      return cut_fibre(node);
    case 7:
      return longer_span(node);
    case 8:
      return dark_laser(node);
    case 9:
      return moved_laser(node);
    case 10:
      return channel_taken_down(node);
    case 11:
      return other_target(node);
    default:
      return stuck_monitor(node);
  }
}

incident incident_source::draw_absence() {
  const unsigned node = below(2);
  return below(3) == 0 ? lost_peer(node) : broken_device(node);
}

incident incident_source::broken_device(unsigned node) {
  const std::string device = devices[below(std::size(devices))];
  const auto fault = device_faults[below(std::size(device_faults))];
  auto& plant = pair_.plant();
  return {.name = fmt::format("{} of node {} {}", device, node, fault.name),
          .begin = [=, &plant] { plant.set_nexel_state(node, device, fault.state); },
          .end = [=, &plant] { plant.set_nexel_state(node, device, sim::nexel_state::ok); },
          .leaves_light_alone = true};
}

incident incident_source::lost_peer(unsigned node) {
  const auto state = below(2) == 0 ? nx::link_state::hung : nx::link_state::dead;
  return {.name = fmt::format("tree of node {} {}", node,
                              state == nx::link_state::hung ? "hung" : "out of reach"),
          .begin = [=, this] { pair_.set_peer_link(node, state); },
          .end = [=, this] { pair_.set_peer_link(node, nx::link_state::up); },
          .leaves_light_alone = true};
}

incident incident_source::restarted_manager(unsigned node) {
  return {.name = fmt::format("manager of node {} killed", node),
          .begin = [=, this] { pair_.stop_manager(node); },
          .end = [=, this] { pair_.start_manager(node); },
          .leaves_light_alone = true,
          .alone = true};
}

incident incident_source::lost_store() {
  return {.name = "store away",
          .begin = [] { kvs_memory::set_available(false); },
          .end = [] { kvs_memory::set_available(true); },
          .leaves_light_alone = true};
}

incident incident_source::cut_fibre(unsigned fibre) {
  auto& plant = pair_.plant();
  return {.name = fmt::format("fibre {} cut", fibre),
          .begin = [=, &plant] { plant.cut_fibre(fibre); },
          .end = [=, &plant] { plant.mend_fibre(fibre); }};
}

incident incident_source::longer_span(unsigned fibre) {
  const double offset_db = between(-2.0, 2.0);
  return {.name = fmt::format("span {} by {:+.1f} dB", fibre, offset_db),
          .begin = [=, this] { pair_.plant().set_span_offset(fibre, offset_db); },
          .end = nothing};
}

incident incident_source::dark_laser(unsigned node) {
  const auto channel = any_channel();
  auto& plant = pair_.plant();
  return {.name = fmt::format("laser {} of node {} dark", channel, node),
          .begin = [=, &plant] { plant.switch_laser(node, channel, false); },
          .end = [=, &plant] { plant.switch_laser(node, channel, true); }};
}

incident incident_source::moved_laser(unsigned node) {
  const auto channel = any_channel();
  const double power_dbm = between(-2.0, 2.0);
  return {.name = fmt::format("laser {} of node {} at {:+.1f} dBm", channel, node, power_dbm),
          .begin =
              [=, this] {
                pair_.plant().change_laser(node, channel, [&](sim::laser_settings& laser) {
                  laser.power_dbm = power_dbm;
                });
              },
          .end = nothing};
}

incident incident_source::channel_taken_down(unsigned node) {
  const auto path = fmt::format("config/client/{}/rx/adminStatus", any_channel());
  return {.name = fmt::format("{} of node {} down", path, node),
          .begin = [=, this] { pair_.write(node, path, "\"down\""); },
          .end = [=, this] { pair_.write(node, path, "\"up\""); }};
}

incident incident_source::other_target(unsigned node) {
  const auto path = fmt::format("config/client/{}/rx/wantedPowerOffset", any_channel());
  const auto before = std::make_shared<float>();
  const auto wanted = static_cast<float>(between(2.5, 5.5));
  return {.name = fmt::format("{} of node {} at {:.1f} dBm", path, node, wanted),
          .begin =
              [=, this] {
                *before = pair_.number(node, path);
                pair_.write(node, path, fmt::format("{}", wanted));
              },
          .end = [=, this] { pair_.write(node, path, fmt::format("{}", *before)); },
          .alone = true};
}

incident incident_source::stuck_monitor(unsigned node) {
  const auto side = any_side(below(2));
  auto& plant = pair_.plant();
  return {.name = fmt::format("monitor of node {} stuck", node),
          .begin = [=, &plant] { plant.set_monitor_stuck(node, side, true); },
          .end = [=, &plant] { plant.set_monitor_stuck(node, side, false); },
          .leaves_light_alone = true};
}

void incident_source::drift() {
  auto& plant = pair_.plant();
  constexpr double daily_db = 0.1;
  for (unsigned node : {0u, 1u}) {
    plant.set_monitor_offset(node, sim::direction::rx, between(-daily_db, daily_db));
    plant.set_tap_offset(node, sim::tap::booster_output, between(-daily_db, daily_db));
    for (const auto channel : pair_.channels()) {
      plant.change_laser(node, channel, [&](sim::laser_settings& laser) {
        laser.power_dbm = std::clamp(laser.power_dbm + between(-daily_db, daily_db), -2.5, 2.5);
      });
    }
  }
}

}  // namespace test
