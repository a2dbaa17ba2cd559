#include "sim/nexels/control_tree.h"

#include <fmt/format.h>

#include <algorithm>

#include "sim/optics/decibel.h"
#include "sim/plant/device_range.h"
#include "sim/plant/topology_values.h"
#include "sim/plant/truth.h"

namespace sim {

namespace {

struct state_word {
  nexel_state state;
  const char* word;
};

constexpr std::array<state_word, 4> state_words{{{nexel_state::ok, "ok"},
                                                 {nexel_state::hung, "hung"},
                                                 {nexel_state::killed, "killed"},
                                                 {nexel_state::refusing, "refusing"}}};

std::chrono::nanoseconds seconds(float value) {
  return std::chrono::round<std::chrono::nanoseconds>(
      std::chrono::duration<double>(static_cast<double>(value)));
}

/// A service's name as a single segment of a path.
std::string segment_of(std::string name) {
  std::replace(name.begin(), name.end(), '/', '_');
  return name;
}

}  // namespace

const char* word_of(direction side) {
  return side == direction::rx ? "rx" : "tx";
}

const char* word_of(nexel_state state) {
  return std::find_if(state_words.begin(), state_words.end(),
                      [&](const state_word& each) { return each.state == state; })
      ->word;
}

nexel_state nexel_state_of(const std::string& word) {
  for (const state_word& each : state_words) {
    if (word == each.word) return each.state;
  }
  throw nx_error(nx_error::invalid,
                 "state: found '" + word + "', accepted are 'ok', 'hung', 'killed' and 'refusing'");
}

control_tree::control_tree(std::mutex& light, plant& owner, const line_system& system)
    : device_tree("sim", light), owner_(owner), system_(system) {
  time_ = add_reading<float>("data/time", 0.0F);
  add_free_setting<bool>("config/raman", system.fibres[0].settings().raman,
                         [this](const bool& on) { owner_.set_raman(on); });
  add_free_command<bool, bool>("command/resetCounters", [this](const bool&) {
    owner_.reset_counters();
    return true;
  });
  add_free_command<bool, bool>("command/cutLine", [this](const bool& cut) {
    cut ? owner_.cut_line() : owner_.mend_line();
    return true;
  });
  for (unsigned fibre = 0; fibre < 2; ++fibre)
    add_fibre(fibre);
  for (unsigned number = 0; number < system.nodes.size(); ++number)
    add_node(number);
}

void control_tree::add_fibre(unsigned fibre) {
  const std::string below = fmt::format("fibre/{}", fibre);
  const auto cut =
      add_free_setting<bool>("config/" + below + "/cut", false, [this, fibre](const bool& wanted) {
        wanted ? owner_.cut_fibre(fibre) : owner_.mend_fibre(fibre);
      });
  follow(cut, [this, fibre] { return system_.fibres[fibre].cut(); });
  add_free_setting<float>(
      "config/" + below + "/lossOffset",
      static_cast<float>(system_.fibres[fibre].settings().loss_offset_db),
      [this, fibre](const float& loss_db) { owner_.set_span_offset(fibre, loss_db); });
  add_free_setting<float>(
      "config/" + below + "/lossDrift",
      static_cast<float>(system_.fibres[fibre].settings().loss_drift_db_per_day),
      [this, fibre](const float& drift) { owner_.set_span_drift(fibre, drift); });
  add_fibre_truth(fibre);
}

void control_tree::add_node(unsigned number) {
  const std::string below = fmt::format("node/{}", number);
  add_band_commands(number, below);
  for (const slot& each : system_.slots) {
    add_laser(number, below, each.key);
    add_channel_truth(number, each.key);
  }
  for (const auto side : {direction::rx, direction::tx}) {
    add_monitor(number, below, side);
    add_side_truth(number, side);
  }
  add_instruments(number, below);
  add_light_faults(number, below);
  add_node_truth(number);
  add_free_setting<bool>("config/" + below + "/tended", system_.tended[number],
                         [this, number](const bool& on) { owner_.set_tended(number, on); });
  nexels_.emplace_back();
}

void control_tree::add_band_commands(unsigned number, const std::string& below) {
  add_free_command<bool, bool>("command/" + below + "/fillBand", [this, number](const bool&) {
    owner_.fill_band(number);
    return true;
  });
  add_free_command<bool, bool>("command/" + below + "/darkBand", [this, number](const bool&) {
    owner_.dark_band(number);
    return true;
  });
}

void control_tree::add_laser_number(unsigned number, unsigned channel, const std::string& path,
                                    double laser_settings::*member, double low, double high,
                                    const char* unit) {
  const auto& laser = system_.nodes[number]->lasers[system_.slot_of(channel)].settings();
  add_free_setting<float>(path, static_cast<float>(laser.*member), [=, this](const float& wanted) {
    const auto value = static_cast<double>(wanted);
    require_range(path.c_str(), value, low, high, unit);
    owner_.change_laser(number, channel,
                        [&](laser_settings& settings) { settings.*member = value; });
  });
}

void control_tree::add_laser(unsigned number, const std::string& below, unsigned channel) {
  const std::string path = fmt::format("config/{}/laser/{}/", below, channel);
  const auto& laser = system_.nodes[number]->lasers[system_.slot_of(channel)];
  const auto on = add_free_setting<bool>(path + "on", laser.settings().on,
                                         [this, number, channel](const bool& wanted) {
                                           owner_.switch_laser(number, channel, wanted);
                                         });
  follow(on, [&laser] { return laser.settings().on; });
  const auto add = [&](const char* name, double laser_settings::*member, double low, double high,
                       const char* unit) {
    add_laser_number(number, channel, path + name, member, low, high, unit);
  };
  add("power", &laser_settings::power_dbm, -40.0, 10.0, "dBm");
  add("ramp", &laser_settings::ramp_s, 0.0, 60.0, "s");
  add("drift", &laser_settings::drift_db_per_hour, -60.0, 60.0, "dB/h");
  add("frequencyOffset", &laser_settings::frequency_offset_ghz, -1000.0, 1000.0, "GHz");
  add("flickerPeriod", &laser_settings::flicker_period_s, 0.0, 600.0, "s");
}

void control_tree::add_monitor(unsigned number, const std::string& below, direction side) {
  const std::string path = fmt::format("{}/{}/monitor/", below, word_of(side));
  const monitor_settings& monitor =
      monitor_of(std::as_const(*system_.nodes[number]), side).settings();
  add_free_setting<bool>(
      "config/" + path + "stuck", false,
      [this, number, side](const bool& stuck) { owner_.set_monitor_stuck(number, side, stuck); });
  add_free_setting<float>("config/" + path + "offset", static_cast<float>(monitor.offset_db),
                          [this, number, side](const float& offset_db) {
                            owner_.set_monitor_offset(number, side, offset_db);
                          });
  add_free_command<bool, bool>("command/" + path + "repeatPass", [this, number, side](const bool&) {
    owner_.repeat_monitor_pass(number, side);
    return true;
  });
}

void control_tree::add_instruments(unsigned number, const std::string& below) {
  for (std::size_t i = 0; i < tap_names.size(); ++i) {
    const auto which = static_cast<tap>(i);
    const std::string path = fmt::format("config/{}/tap/{}/", below, tap_names[i]);
    const tap_settings& settings = system_.nodes[number]->settings.taps[i];
    add_free_setting<float>(path + "offset", static_cast<float>(settings.offset_db),
                            [this, number, which](const float& offset_db) {
                              owner_.set_tap_offset(number, which, offset_db);
                            });
    add_free_setting<float>(
        path + "drift", static_cast<float>(settings.drift_db_per_day),
        [this, number, which](const float& drift) { owner_.set_tap_drift(number, which, drift); });
  }
}

void control_tree::add_nexels(unsigned number, const std::vector<std::string>& names) {
  for (const std::string& name : names)
    add_nexel(number, name);
}

void control_tree::add_nexel(unsigned number, const std::string& name) {
  const std::string path = fmt::format("node/{}/nexel/{}/", number, segment_of(name));
  nexel_settings added;
  added.state = add_free_setting<std::string>(
      "config/" + path + "state", "ok", [this, number, name](const std::string& word) {
        owner_.set_nexel_state(number, name, nexel_state_of(word));
      });
  added.latency = add_free_setting<unsigned int>(
      "config/" + path + "latency", 0U, [this, number, name](const unsigned int& latency_ms) {
        owner_.set_latency(number, name, std::chrono::milliseconds(latency_ms));
      });
  nexels_[number].push_back(added);
  add_fault_commands(number, name, path);
  add_restart(number, name, path);
  if (name.starts_with("ols_optical_switch")) {
    add_free_setting<bool>("config/" + path + "stuck", false, [this, number](const bool& stuck) {
      owner_.set_optical_switch_stuck(number, stuck);
    });
  }
}

void control_tree::add_restart(unsigned number, const std::string& name, const std::string& path) {
  add_free_command<std::string, bool>("command/" + path + "dropSubscriptions",
                                      [this, number, name](const std::string& pattern) {
                                        owner_.drop_subscription(number, name, pattern);
                                        return true;
                                      });
  add_free_setting<float>(
      "config/" + path + "staleAfterRestart", 0.0F, [this, number, name](const float& duration_s) {
        require_range("duration", static_cast<double>(duration_s), 0.0, 3600.0, "s");
        owner_.set_stale_after_restart(number, name, seconds(duration_s));
      });
  if (name != "wss" && name != "ocm") return;
  add_free_command<bool, bool>("command/" + path + "forgetChannels",
                               [this, number, name](const bool&) {
                                 owner_.forget_channels(number, name);
                                 return true;
                               });
  add_free_setting<bool>("config/" + path + "refusesKnownChannels", false,
                         [this, number, name](const bool& refuses) {
                           owner_.set_refuses_known_channels(number, name, refuses);
                         });
}

void control_tree::show_nexel_state(unsigned number, std::size_t index, nexel_state state) {
  nexels_.at(number).at(index).state->update(word_of(state));
}

void control_tree::show_latency(unsigned number, std::size_t index,
                                std::chrono::milliseconds latency) {
  nexels_.at(number).at(index).latency->update(static_cast<unsigned int>(latency.count()));
}

void control_tree::publish() {
  constexpr std::chrono::seconds interval(1);
  if (published_ >= published_.zero() && system_.time() - published_ < interval) return;
  published_ = system_.time();
  time_->update(static_cast<float>(std::chrono::duration<double>(published_).count()));
  for (const auto& update : followers_)
    update();
}

}  // namespace sim
