#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <utility>

#include "tools/insight/finding_rules.h"
#include "tools/insight/standing.h"

namespace tools::insight {

namespace {

struct device_names {
  const char* on_board;
  const char* service;  ///< the end of the path of its socket
  const char* spoken;
};

/// Those that are not called the same everywhere.
constexpr std::array names{device_names{"voa", "voa_sfp", "VOA"},
                           device_names{"osc", "osc1", "supervisory channel (OSC)"},
                           device_names{"sfp", "sfp/0", "supervisory transceiver (SFP)"},
                           device_names{"switch", "wss_edge", "switch"},
                           device_names{"twinSwitch", "wss", "switch"},
                           device_names{"monitor", "ocm", "monitor"}};

device_names names_of(const std::string& device) {
  const auto* found = std::find_if(names.begin(), names.end(),
                                   [&](const auto& each) { return each.on_board == device; });
  return found == names.end() ? device_names{device.c_str(), device.c_str(), device.c_str()}
                              : *found;
}

struct key_figure {
  const char* device;
  const char* figure;  ///< that it tells whatever the light does
  const char* spoken;
};

constexpr std::array key_figures{key_figure{"booster", "gain", "its gain"},
                                 key_figure{"preamp", "gain", "its gain"},
                                 key_figure{"voa", "attenuation", "its attenuation"},
                                 key_figure{"osc", "link", "the state of the link"},
                                 key_figure{"sfp", "outputPower", "the power that it sends"},
                                 key_figure{"switch", "status", "its status"},
                                 key_figure{"twinSwitch", "planLoaded", "its plan"},
                                 key_figure{"monitor", "planLoaded", "its plan"}};

/// What a device that answers should tell, and does not; null if it does.
const char* untold_of(const device& each) {
  const auto* key = std::find_if(key_figures.begin(), key_figures.end(),
                                 [&](const auto& of) { return each.name == of.device; });
  if (each.alive != true || key == key_figures.end()) return nullptr;
  const bool is_told = std::any_of(each.values.begin(), each.values.end(),
                                   [&](const auto& value) { return value.first == key->figure; });
  return is_told ? nullptr : key->spoken;
}

std::string service_of(const std::string& device) {
  return names_of(device).service;
}

/// A loop that has found a device missing does not always say which.
constexpr std::string_view unnamed = "a device is not operational";

bool is_because_of(const std::string& reason, const std::string& service) {
  return reason == unnamed || reason.find(service) != reason.npos;
}

std::string loops_text(const node_insight& node, const std::string& service) {
  std::vector<std::string> loops;
  for (const char* loop : {"line", "client rx", "client tx"}) {
    const auto* down = open_event(node, loop, {"loopDown"}, {"loopUp"});
    if (down != nullptr && is_because_of(detail(*down, "reason"), service))
      loops.emplace_back(loop);
  }
  if (loops.empty()) return "It is taken up again by itself.";
  return fmt::format("Down until it answers: {}. It is taken up again by itself.",
                     fmt::join(loops, ", "));
}

/// Whether one of the devices that are silent is why.
bool is_of_silent_device(const std::string& reason, const std::vector<finding>& found) {
  return std::any_of(found.begin(), found.end(), [&](const finding& each) {
    return each.of == cause::device_silent && is_because_of(reason, service_of(each.on));
  });
}

/// When a fault of the start was told. Whether it lasts is not for the events to say: nothing is
/// told when it ends.
std::string began(const node_insight& node, const std::string& fault) {
  const auto told = std::find_if(node.events.rbegin(), node.events.rend(), [&](const event& each) {
    return each.kind == "startFailed" && detail(each, "reason") == without_folders(fault);
  });
  return told == node.events.rend() ? "" : told->time;
}

}  // namespace

void add_node_causes(const node_insight& node, std::vector<finding>& found) {
  for (const auto& each : node.start)
    found.push_back({cause::start_failed, "node", each, "", "", began(node, each)});
  if (!node.tells_of_itself && node.start.empty()) {
    found.push_back({cause::start_failed, "node",
                     "The daemon is still starting, or waits for what it needs to start", "",
                     "Check its log: it says what it is waiting for.", ""});
  }
  if (!node.is_configured && node.tells_of_itself) {
    found.push_back({cause::not_configured, "node",
                     "Nothing is regulated: the node waits for its configuration", "",
                     "Write its parameters, then set config/redisConfigStatus to true.", ""});
  }
  if (node.automation_mode == "bright" || node.automation_mode == "dark") {
    found.push_back(
        {cause::regulation_stopped, "node",
         fmt::format("Nothing is regulated: the automation mode is {}", node.automation_mode), "",
         "Set config/automationMode to embedded, managedCLI or managedNetconf.", ""});
  }
}

void add_devices(const node_insight& node, std::vector<finding>& found) {
  for (const auto& each : node.devices) {
    if (const auto* untold = untold_of(each)) {
      found.push_back(
          {cause::device_silent, each.name,
           fmt::format("The {} answers, but {} cannot be read", names_of(each.name).spoken, untold),
           "",
           fmt::format("Look at its service, {}, and at the device behind it.",
                       service_of(each.name)),
           ""});
      continue;
    }
    // A device that has never been asked is neither silent nor alive.
    if (each.alive != false || !each.age) continue;
    found.push_back(
        {cause::device_silent, each.name,
         fmt::format("The {} has not answered for {:.0f} s", names_of(each.name).spoken, *each.age),
         loops_text(node, service_of(each.name)),
         fmt::format("Look at its service, {}, and restart it.", service_of(each.name)), ""});
  }
}

void add_compensator(const node_insight& node, std::vector<finding>& found) {
  // Without its link the node does not know the fibre, and waits.
  if (is_found(found, cause::link_down) || is_found(found, cause::fibre_cut)) return;
  for (const auto& each : node.guards) {
    if (each.on != "compensator") continue;
    found.push_back({cause::line_device, each.on,
                     fmt::format("The fibre's dispersion is not compensated: {}", each.reason),
                     "It is tried again every second.",
                     "Look at their services, tdcm and ols_optical_switch/1.", each.since});
  }
}

void add_amplifiers(const node_insight& node, std::vector<finding>& found) {
  constexpr double serious_db = 1.0;  // as for the guard on opening into saturation
  for (const auto& each : node.devices) {
    if (each.saturation.value_or(0) < serious_db) continue;
    found.push_back({cause::amplifier_saturated, each.name,
                     fmt::format("The {} is saturated: it gives {:.1f} dB less than its gain",
                                 each.name, *each.saturation),
                     "", "Check its power limit and the light that it gets.", ""});
  }
}

void add_loops(const node_insight& node, std::vector<finding>& found) {
  for (const char* loop : {"line", "client rx", "client tx"}) {
    const auto* down = open_event(node, loop, {"loopDown"}, {"loopUp"});
    if (down == nullptr || is_of_silent_device(detail(*down, "reason"), found)) continue;
    found.push_back({cause::loop_down, loop,
                     fmt::format("The {} loop is down: {}", loop, detail(*down, "reason")),
                     "It is set up again every second.", "", down->time});
  }
}

void add_panel(const node_insight& node, std::vector<finding>& found) {
  const auto* down = open_event(node, "panel", {"loopDown"}, {"loopUp"});
  if (down == nullptr) return;
  found.push_back({cause::loop_down, "panel",
                   fmt::format("The front panel does not answer: {}", detail(*down, "reason")),
                   "Its lights stay as they are; the light in the fibre does not depend on them.",
                   "Look at its service, and restart it.", down->time});
}

}  // namespace tools::insight
