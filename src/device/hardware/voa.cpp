#include "device/hardware/voa.h"

#include <utility>

#include "device/hardware/readings.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "platform/nexel_client/nexel_client.h"

namespace device::hardware {

voa::voa(std::shared_ptr<boost::asio::io_context> io, const std::string& socket_path)
    : without_subscriptions("voa"), client_(make_client(std::move(io), socket_path)) {}

bool voa::is_operational() {
  return read<std::string>(*client_, "data/operStatus") == "up";
}

void voa::set_attenuation(float attenuation) {
  LUMORA_LOG(1, "VOA: set attenuation = {}", attenuation);
  const auto write = [&] { hardware::write<void>(*client_, "config/attenuation", attenuation); };
  try {
    write();
    return;
  } catch (...) {
    helpers::log_current_exception(helpers::after_logging::throws_on);
  }
  LUMORA_LOG(2, "VOA device rejected the first attenuation setting, retrying.");
  helpers::guarded(write);
}

float voa::get_attenuation() {
  return read_number(*client_, "data/attenuation", reading_kind::attenuation);
}

void voa::declare_reads(std::vector<read_wish>& wishes) {
  using enum read_wish::type;
  wishes.push_back({client_, text, "data/operStatus"});
  wishes.push_back({client_, number, "data/attenuation"});
  wishes.push_back({client_, number, "data/insertionLoss"});
}

float voa::get_min_attenuation() {
  return 0.0f;
}

float voa::get_max_attenuation() {
  return 25.0f;
}

float voa::get_insertion_loss() {
  return read_number(*client_, "data/insertionLoss", reading_kind::insertion_loss);
}

}  // namespace device::hardware
