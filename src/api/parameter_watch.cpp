#include "api/parameter_watch.h"

#include <memory>
#include <mutex>
#include <utility>

namespace nx::api {

namespace {

struct watch {
  std::mutex mutex;  // guards the pointer; nothing is called under it
  std::shared_ptr<const parameter_receiver> receiver;
};

watch& the_watch() {
  // Outlives every static: server threads may still write while the process ends.
  static auto* const instance = new watch;
  return *instance;
}

std::shared_ptr<const parameter_receiver> present_receiver() {
  const std::lock_guard lock(the_watch().mutex);
  return the_watch().receiver;
}

}  // namespace

void watch_parameters(parameter_receiver receiver) {
  auto next = receiver ? std::make_shared<const parameter_receiver>(std::move(receiver)) : nullptr;
  const std::lock_guard lock(the_watch().mutex);
  the_watch().receiver = std::move(next);
}

bool parameters_are_watched() {
  return present_receiver() != nullptr;
}

void tell_parameter(const std::string& path, const std::string& value) {
  if (const auto receiver = present_receiver()) (*receiver)(path, value);
}

}  // namespace nx::api
