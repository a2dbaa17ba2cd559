// Faults of the device services, set by tests and the control tree.
#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"
#include "sim/plant_impl.h"

namespace sim {

void plant::set_reading_fault(unsigned node, const std::string& name, const std::string& pattern,
                              const reading_fault& fault, std::chrono::nanoseconds duration) {
  if (fault.what == reading_fault::kind::replaced) nx::parse_json(fault.value);
  const std::lock_guard lock(impl_->light);
  impl_->tree(node, name).readings().begin(pattern, fault, duration);
}

void plant::heal_readings(unsigned node, const std::string& name, const std::string& pattern) {
  const std::lock_guard lock(impl_->light);
  impl_->tree(node, name).readings().heal(pattern);
}

void plant::set_stale_after_restart(unsigned node, const std::string& name,
                                    std::chrono::nanoseconds duration) {
  const std::lock_guard lock(impl_->light);
  impl_->tree(node, name).readings().hold_over_restart(duration);
}

void plant::set_write_fault(unsigned node, const std::string& name, const std::string& pattern,
                            const write_fault& fault, std::chrono::nanoseconds duration) {
  const std::lock_guard lock(impl_->light);
  impl_->tree(node, name).writes().begin(pattern, fault, duration);
}

void plant::heal_writes(unsigned node, const std::string& name, const std::string& pattern) {
  const std::lock_guard lock(impl_->light);
  impl_->tree(node, name).writes().heal(pattern);
}

unsigned plant::writes(unsigned node, const std::string& name) const {
  const std::lock_guard lock(impl_->light);
  return impl_->tree(node, name).writes().count();
}

}  // namespace sim
