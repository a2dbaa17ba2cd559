#include <fmt/format.h>

#include "helpers/logger.h"
#include "models/model.h"
#include "platform/wire/nx_error.h"
#include "products/selka/channel/control.h"

namespace products::selka::channel {

optical_control_mode optical_control_mode_from_text(const std::string& text) {
  if (text == "off") return optical_control_mode::off;
  if (text == "power") return optical_control_mode::power;
  if (text == "gainLoss") return optical_control_mode::gain_loss;
  throw nx_error(nx_error::invalid, "Invalid optical control mode.");
}

std::string to_text(optical_control_mode mode) {
  switch (mode) {
    case optical_control_mode::off:
      return "off";
    case optical_control_mode::power:
      return "power";
    case optical_control_mode::gain_loss:
      return "gainLoss";
    case optical_control_mode::unknown:
      return "n/a";
  }
  throw nx_error(nx_error::invalid,
                 fmt::format("Invalid optical control mode: {}.", static_cast<unsigned>(mode)));
}

std::string selka_port_name(unsigned port) {
  if (auto name = models::port_name(models::get("selkamin"), port)) return *name;
  LUMORA_LOG(2, "Invalid WSS port: {}", port);
  return "n/a";
}

}  // namespace products::selka::channel
