#include "sim/nexels/dispersion_trees.h"

#include "sim/plant/device_range.h"

namespace sim {

compensator_tree::compensator_tree(std::mutex& light, dispersion_module& device,
                                   const compensator_settings& settings)
    : device_tree("tdcm", light), device_(device) {
  const double range = settings.range_ps_per_nm;
  add_reading<std::string>("inventory/partNumber", settings.part_number);
  add_reading<float>("data/debug/tuningRangeMin", static_cast<float>(-range));
  add_reading<float>("data/debug/tuningRangeMax", static_cast<float>(range));
  current_ = add_reading<float>("data/currentDispersion", 0.0F);
  add_setting<float>("config/dispersion", 0.0F, [this, range](const float& wanted) {
    const auto value = static_cast<double>(wanted);
    require_range("dispersion", value, -range, range, "ps/nm");
    device_.wanted_ps_per_nm = value;
  });
}

void compensator_tree::publish() {
  current_->update(static_cast<float>(device_.tunable_ps_per_nm));
}

optical_switch_tree::optical_switch_tree(std::mutex& light, dispersion_module& device)
    : device_tree("ols_optical_switch/1", light) {
  auto shown = add_reading<int>("data/path", device.path);
  add_command<int, int>("command/pathselect", [&device, shown](const int& path) {
    // A position that the switch does not have leaves it where it is; the answer says where.
    if (!device.stuck && (path == 1 || path == 2)) device.path = path;
    shown->update(device.path);
    return device.path;
  });
}

}  // namespace sim
