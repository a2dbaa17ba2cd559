#include "base/manager/automation.h"

#include <array>
#include <utility>

#include "platform/wire/nx_error.h"

namespace {

constexpr std::array<std::pair<const char*, automation_mode>, 5> mode_texts{{
    {"bright", automation_mode::bright},
    {"dark", automation_mode::dark},
    {"embedded", automation_mode::embedded},
    {"managedNetconf", automation_mode::managed_netconf},
    {"managedCLI", automation_mode::managed_cli},
}};

}  // namespace

automation& automation::instance() {
  // Outlives every static: server threads may still ask while the process ends.
  static auto* const the_instance = new automation;
  return *the_instance;
}

void automation::set(const std::string& text) {
  for (const auto& [mode_text, mode] : mode_texts) {
    if (text == mode_text) {
      mode_ = mode;
      return;
    }
  }
  throw nx_error(nx_error::invalid, "Unknown automation mode");
}

std::string automation::to_string() {
  const auto current = get();
  for (const auto& [mode_text, mode] : mode_texts) {
    if (current == mode) return mode_text;
  }
  return {};
}

automation_mode automation::get() {
  return mode_;
}

bool automation::is_regulating() {
  const auto mode = get();
  return mode != automation_mode::bright && mode != automation_mode::dark;
}
