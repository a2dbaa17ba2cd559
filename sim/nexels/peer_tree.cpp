#include "sim/nexels/peer_tree.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "sim/nexels/peer_values.h"
#include "sim/optics/decibel.h"
#include "sim/plant/truth.h"

namespace sim {

namespace {

constexpr unsigned far = 1;
// Resolution of the instruments, dB.
constexpr double resolution = 0.01;

float shown(double value) {
  return static_cast<float>(rounded_to(value, resolution));
}

std::string product_text(std::string family) {
  std::transform(family.begin(), family.end(), family.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
  return family;
}

std::string status_text(bool up) {
  return up ? "up" : "down";
}

}  // namespace

peer_tree::peer_tree(std::mutex& light, const line_system& system, const std::string& family)
    : device_tree("peer", light), system_(system), model_(models::find_simulated(family)) {
  add_identity(family);
  add_line();
  if (has_compensator()) add_dispersion();
  if (!model_) return;
  for (std::size_t i = 0; i < system.slots.size(); ++i)
    add_channel(i, is_orva());
}

template <class T>
void peer_tree::add_value(const std::string& path, std::function<T()> read) {
  auto value = add_reading<T>(path, read());
  updates_.emplace_back([value, read = std::move(read)] { value->update(read()); });
}

void peer_tree::add_identity(const std::string& family) {
  const auto add = [this](const std::string& path, const std::string& text) {
    add_reading<std::string>(path, text);
  };
  add("data/product", product_text(family));
  add("data/swVersion", "1.0.0");
  add("data/hwRevision", "R1A");
  add("interface/line/1/data/hostname", "simulated-" + family);
  add("interface/line/1/data/osc/rx/interfaceName", "if-1/line-rx");
  add("interface/line/1/data/osc/tx/interfaceName", "if-1/line-tx");
  if (!model_) add("data/spanloss/section", "oms");
  if (has_compensator()) add("local/interface/line/1/data/dispersion/rx/fiberType", "G.652");
}

void peer_tree::add_line() {
  for (const peer_value& each : peer_line_values()) {
    const char* path = model_ ? each.terminal_path : each.in_line_path;
    if (path == nullptr || (each.orva_alone && !is_orva())) continue;
    add_value<float>(path, [this, read = each.read] {
      return shown(read({*system_.nodes[far], *system_.nodes[1 - far]}));
    });
  }
}

void peer_tree::add_dispersion() {
  // A compensator that removes what its fibre adds.
  const auto dispersion = [this] { return system_.nodes[far]->osc.dispersion_ps_per_nm(); };
  const std::string below = "local/interface/line/1/data/dispersion/rx/";
  add_value<float>(below + "tdcm", [dispersion] { return shown(-dispersion()); });
  add_reading<float>(below + "finalDispersion", 0.0F);
  add_reading<float>(below + "dispersionOffset", 0.0F);
}

void peer_tree::add_channel(std::size_t slot, bool with_osnr) {
  const node& here = *system_.nodes[far];
  const auto& near_model = model_of(system_.nodes[1 - far]->settings);
  const auto id = models::device_channel(near_model, system_.slots[slot].key);
  const auto path = [id](const char* name) { return fmt::format("data/client/{}/{}", id, name); };
  const auto seen = [&here, slot] { return here.preamp_monitor.detected(slot); };
  const auto true_power = [&here, slot](measuring_point where) {
    return shown(channel_power_dbm(here, where, slot));
  };
  add_value<bool>(path("tx/peak"), seen);
  add_value<float>(path("tx/ocm/power"),
                   [&here, slot] { return shown(here.preamp_monitor.power_dbm(slot)); });
  add_value<float>(path("tx/power"),
                   [true_power] { return true_power(measuring_point::client_output); });
  add_value<float>(path("rx/power"), [true_power] { return true_power(measuring_point::laser); });
  add_value<std::string>(path("tx/status"), [seen] { return status_text(seen()); });
  add_value<std::string>(path("rx/status"), [&here, slot] {
    return status_text(here.booster_monitor.detected(slot));
  });
  if (!with_osnr) return;
  add_value<float>(path("tx/osnr"), [this, &here, slot] {
    return shown(osnr_db(here.at(measuring_point::preamp_output), system_.slots, slot));
  });
}

void peer_tree::publish() {
  constexpr std::chrono::seconds interval(1);
  if (published_ >= published_.zero() && system_.time() - published_ < interval) return;
  published_ = system_.time();
  for (const auto& update : updates_)
    update();
}

}  // namespace sim
