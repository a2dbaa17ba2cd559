// The part of the tree "sim" that makes device services lie and the light weak.
#include <fmt/format.h>

#include "sim/nexels/control_tree.h"
#include "sim/nexels/fault_request.h"
#include "sim/plant/truth.h"

namespace sim {

namespace {

struct connector_name {
  connector where;
  const char* name;
};

constexpr std::array<connector_name, 6> connector_names{{
    {connector::switch_to_booster, "switchToBooster"},
    {connector::booster_to_line, "boosterToLine"},
    {connector::fibre_out, "fibreOut"},
    {connector::fibre_in, "fibreIn"},
    {connector::line_to_preamp, "lineToPreamp"},
    {connector::preamp_to_switch, "preampToSwitch"},
}};

}  // namespace

void control_tree::add_fault_commands(unsigned number, const std::string& name,
                                      const std::string& path) {
  const auto add = [&](const char* command, auto action) {
    add_free_command<std::string, bool>("command/" + path + command,
                                        [action](const std::string& text) {
                                          action(text);
                                          return true;
                                        });
  };
  add("faultReadings", [this, number, name](const std::string& text) {
    const auto asked = read_reading_fault(text);
    owner_.set_reading_fault(number, name, asked.path, asked.fault, asked.duration);
  });
  add("healReadings", [this, number, name](const std::string& pattern) {
    owner_.heal_readings(number, name, pattern);
  });
  add("faultWrites", [this, number, name](const std::string& text) {
    const auto asked = read_write_fault(text);
    owner_.set_write_fault(number, name, asked.path, asked.fault, asked.duration);
  });
  add("healWrites", [this, number, name](const std::string& pattern) {
    owner_.heal_writes(number, name, pattern);
  });
}

void control_tree::add_light_faults(unsigned number, const std::string& below) {
  for (const auto& [where, name] : connector_names) {
    add_free_setting<float>(fmt::format("config/{}/connector/{}/loss", below, name), 0.0F,
                            [this, number, where = where](const float& loss_db) {
                              owner_.set_connector_loss(number, where,
                                                        static_cast<double>(loss_db));
                            });
  }
  for (const auto side : {direction::rx, direction::tx}) {
    const std::string of_side = fmt::format("{}/{}/", below, word_of(side));
    add_amplifier_faults(number, of_side, side);
    for (const slot& each : system_.slots) {
      const std::string path = fmt::format("config/{}channel/{}/", of_side, each.key);
      const unsigned key = each.key;
      add_free_setting<float>(
          path + "clientLoss", 0.0F, [this, number, side, key](const float& loss_db) {
            owner_.set_client_loss(number, side, key, static_cast<double>(loss_db));
          });
      add_free_setting<float>(
          path + "switchPortLoss", 0.0F, [this, number, side, key](const float& loss_db) {
            owner_.set_switch_port_loss(number, side, key, static_cast<double>(loss_db));
          });
    }
  }
}

void control_tree::add_amplifier_faults(unsigned number, const std::string& below, direction side) {
  add_free_setting<float>("config/" + below + "gainDeficit", 0.0F,
                          [this, number, side](const float& deficit_db) {
                            owner_.set_gain_deficit(number, side, static_cast<double>(deficit_db));
                          });
  const auto drop = add_free_setting<float>(
      "config/" + below + "powerLimitDrop", 0.0F, [this, number, side](const float& drop_db) {
        owner_.drop_power_limit(number, side, static_cast<double>(drop_db));
      });
  const amplifier& device = amplifier_of(std::as_const(*system_.nodes[number]), side);
  follow(drop, [&device] { return static_cast<float>(device.limit_drop_db()); });
  add_free_command<std::string, bool>(
      "command/" + below + "dropPowerLimit", [this, number, side](const std::string& text) {
        const auto asked = read_limit_drop(text);
        owner_.drop_power_limit(number, side, asked.drop_db, asked.duration);
        return true;
      });
}

}  // namespace sim
