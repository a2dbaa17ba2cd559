#include "sim/nexels/device_tree.h"

namespace sim {

std::mutex& device_tree::enter() const {
  if (refusing_) throw nx_error(nx_error::io_failed, "Refused by the device");
  return light_;
}

void device_tree::set_noise(std::uint64_t seed, const std::string& stream) {
  reading_faults_.set_noise(seed, stream);
  write_faults_.set_noise(seed, stream);
}

void device_tree::step_faults(std::chrono::nanoseconds dt) {
  reading_faults_.step(dt);
  write_faults_.step(dt);
}

void device_tree::drop_subscriptions(const std::string& pattern) {
  for (const auto& node : db_.match(pattern)) {
    const std::string path = node->get_path(0);
    if (db_.remove_node(path)) db_.add_node(nx_db::split_path(path).second, node);
  }
}

}  // namespace sim
