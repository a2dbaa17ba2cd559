#include "sim/nexels/control_tree.h"

#include <fmt/format.h>

#include <algorithm>

#include "sim/optics/decibel.h"
#include "sim/plant/device_range.h"
#include "sim/plant/topology_values.h"
#include "sim/plant/truth.h"

namespace sim {

namespace {

constexpr std::array<direction, 2> sides{direction::rx, direction::tx};

const char* word_of(direction side) {
  return side == direction::rx ? "rx" : "tx";
}

/// Truth to a hundredth of a dB: beyond that it would only be traffic.
float shown(double value) {
  constexpr double resolution = 0.01;
  constexpr double no_light_left_db = 99.0;
  if (!std::isfinite(value)) return static_cast<float>(no_light_left_db);
  return static_cast<float>(rounded_to(value, resolution));
}

struct state_word {
  nexel_state state;
  const char* word;
};

constexpr std::array<state_word, 4> state_words{{{nexel_state::ok, "ok"},
                                                 {nexel_state::hung, "hung"},
                                                 {nexel_state::killed, "killed"},
                                                 {nexel_state::refusing, "refusing"}}};

/// A service's name as one segment of a path.
std::string segment_of(std::string name) {
  std::replace(name.begin(), name.end(), '/', '_');
  return name;
}

}  // namespace

const char* word_of(nexel_state state) {
  return std::find_if(state_words.begin(), state_words.end(),
                      [&](const state_word& each) { return each.state == state; })
      ->word;
}

nexel_state nexel_state_of(const std::string& word) {
  for (const state_word& each : state_words) {
    if (word == each.word) return each.state;
  }
  throw nx_error(-22,
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
  fibre_values& values = fibres_[fibre];
  const std::string below = fmt::format("fibre/{}", fibre);
  values.cut = add_free_setting<bool>(
      "config/" + below + "/cut", false,
      [this, fibre](const bool& cut) { cut ? owner_.cut_fibre(fibre) : owner_.mend_fibre(fibre); });
  add_free_setting<float>(
      "config/" + below + "/lossOffset",
      static_cast<float>(system_.fibres[fibre].settings().loss_offset_db),
      [this, fibre](const float& loss_db) { owner_.set_span_offset(fibre, loss_db); });
  add_free_setting<float>(
      "config/" + below + "/lossDrift",
      static_cast<float>(system_.fibres[fibre].settings().loss_drift_db_per_day),
      [this, fibre](const float& drift) { owner_.set_span_drift(fibre, drift); });
  values.span_loss = add_reading<float>("truth/" + below + "/spanLoss", 0.0F);
  values.raman_tilt = add_reading<float>("truth/" + below + "/ramanTilt", 0.0F);
}

void control_tree::add_node(unsigned number) {
  node_values& values = nodes_.emplace_back();
  const std::string below = fmt::format("node/{}", number);
  add_band_commands(number, below);
  for (const slot& each : system_.slots) {
    channel_values& channel = values.channels.emplace_back();
    add_laser(number, below, each.key, channel);
    add_channel_truth(below, each.key, channel);
  }
  for (std::size_t i = 0; i < sides.size(); ++i) {
    const std::string side = word_of(sides[i]);
    add_amplifier_truth(below, sides[i], values.amplifiers[i]);
    add_monitor(number, below, sides[i]);
    values.switch_writes[i] =
        add_reading<unsigned int>(fmt::format("counters/{}/{}/switchWrites", below, side), 0U);
  }
  add_instruments(number, below);
  values.voa_attenuation = add_reading<float>("truth/" + below + "/voaAttenuation", 0.0F);
  values.voa_writes = add_reading<unsigned int>("counters/" + below + "/voaWrites", 0U);
  add_free_setting<bool>("config/" + below + "/tended", system_.tended[number],
                         [this, number](const bool& on) { owner_.set_tended(number, on); });
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

void control_tree::add_laser(unsigned number, const std::string& below, unsigned channel,
                             channel_values& to) {
  const std::string path = fmt::format("config/{}/laser/{}/", below, channel);
  const auto& laser = system_.nodes[number]->lasers[system_.slot_of(channel)].settings();
  to.laser_on = add_free_setting<bool>(
      path + "on", laser.on,
      [this, number, channel](const bool& on) { owner_.switch_laser(number, channel, on); });
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

void control_tree::add_channel_truth(const std::string& below, unsigned channel,
                                     channel_values& to) {
  constexpr auto none = static_cast<float>(dark_dbm);
  const auto path = [&](const char* group, const char* side, const char* name) {
    return fmt::format("{}/{}/{}/channel/{}/{}", group, below, side, channel, name);
  };
  to.laser_power = add_reading<float>(path("truth", "rx", "laserPower"), none);
  to.booster_output = add_reading<float>(path("truth", "rx", "boosterPower"), none);
  to.booster_target = add_reading<float>(path("truth", "rx", "boosterTarget"), none);
  to.line_output = add_reading<float>(path("truth", "rx", "linePower"), none);
  to.line_input = add_reading<float>(path("truth", "tx", "linePower"), none);
  to.preamp_output = add_reading<float>(path("truth", "tx", "preampPower"), none);
  to.client_output = add_reading<float>(path("truth", "tx", "clientPower"), none);
  to.osnr = add_reading<float>(path("truth", "tx", "osnr"), none);
  for (std::size_t i = 0; i < sides.size(); ++i) {
    const char* side = word_of(sides[i]);
    to.attenuation[i] = add_reading<float>(path("truth", side, "attenuation"), 0.0F);
    to.writes[i] = add_reading<unsigned int>(path("counters", side, "switchWrites"), 0U);
  }
}

void control_tree::add_amplifier_truth(const std::string& below, direction side,
                                       amplifier_values& to) {
  const std::string path = fmt::format("truth/{}/{}/", below, word_of(side));
  to.gain = add_reading<float>(path + "gain", 0.0F);
  to.saturation = add_reading<float>(path + "saturation", 0.0F);
  to.total = add_reading<float>(path + "totalPower", static_cast<float>(dark_dbm));
  to.writes =
      add_reading<unsigned int>(fmt::format("counters/{}/{}/gainWrites", below, word_of(side)), 0U);
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
  for (const std::string& name : names) {
    const std::string path = fmt::format("node/{}/nexel/{}/", number, segment_of(name));
    nodes_[number].nexels.push_back(add_free_setting<std::string>(
        "config/" + path + "state", "ok", [this, number, name](const std::string& word) {
          owner_.set_nexel_state(number, name, nexel_state_of(word));
        }));
    add_free_command<std::string, bool>("command/" + path + "dropSubscriptions",
                                        [this, number, name](const std::string& pattern) {
                                          owner_.drop_subscription(number, name, pattern);
                                          return true;
                                        });
    if (name == "wss" || name == "ocm") {
      add_free_command<bool, bool>("command/" + path + "forgetChannels",
                                   [this, number, name](const bool&) {
                                     owner_.forget_channels(number, name);
                                     return true;
                                   });
    }
    if (name.starts_with("ols_optical_switch")) {
      add_free_setting<bool>("config/" + path + "stuck", false, [this, number](const bool& stuck) {
        owner_.set_optical_switch_stuck(number, stuck);
      });
    }
  }
}

void control_tree::show_nexel_state(unsigned number, std::size_t index, nexel_state state) {
  nodes_.at(number).nexels.at(index)->update(word_of(state));
}

void control_tree::publish() {
  constexpr std::chrono::seconds interval(1);
  if (published_ >= published_.zero() && system_.time() - published_ < interval) return;
  published_ = system_.time();
  time_->update(static_cast<float>(std::chrono::duration<double>(published_).count()));
  for (unsigned fibre = 0; fibre < 2; ++fibre)
    publish_fibre(fibre);
  for (unsigned number = 0; number < nodes_.size(); ++number) {
    publish_node(number);
    for (std::size_t i = 0; i < system_.slots.size(); ++i)
      publish_channel(number, i);
  }
}

void control_tree::publish_fibre(unsigned fibre) {
  const fibre_span& of = system_.fibres[fibre];
  fibres_[fibre].cut->update(of.cut());
  fibres_[fibre].span_loss->update(shown(of.span_loss_db()));
  fibres_[fibre].raman_tilt->update(shown(of.raman_tilt_db()));
}

void control_tree::publish_node(unsigned number) {
  const node& of = *system_.nodes[number];
  node_values& to = nodes_[number];
  for (std::size_t i = 0; i < sides.size(); ++i) {
    const amplifier& device = amplifier_of(of, sides[i]);
    const auto output = sides[i] == direction::rx ? measuring_point::booster_output
                                                  : measuring_point::preamp_output;
    to.amplifiers[i].gain->update(shown(device.true_gain_db()));
    to.amplifiers[i].saturation->update(shown(device.saturation_db()));
    to.amplifiers[i].total->update(shown(total_power_dbm(of, output)));
    to.amplifiers[i].writes->update(device.writes);
    to.switch_writes[i]->update(switch_of(of, sides[i]).all_counters().switch_attenuation);
  }
  to.voa_attenuation->update(shown(of.voa.true_attenuation_db()));
  to.voa_writes->update(of.voa.writes);
}

void control_tree::publish_channel(unsigned number, std::size_t slot) {
  const node& of = *system_.nodes[number];
  channel_values& to = nodes_[number].channels[slot];
  to.laser_on->update(of.lasers[slot].settings().on);
  to.laser_power->update(shown(channel_power_dbm(of, measuring_point::laser, slot)));
  to.booster_output->update(shown(channel_power_dbm(of, measuring_point::booster_output, slot)));
  to.booster_target->update(shown(system_.booster_target_dbm(number, slot)));
  to.line_output->update(shown(channel_power_dbm(of, measuring_point::line_output, slot)));
  to.line_input->update(shown(channel_power_dbm(of, measuring_point::line_input, slot)));
  to.preamp_output->update(shown(channel_power_dbm(of, measuring_point::preamp_output, slot)));
  to.client_output->update(shown(channel_power_dbm(of, measuring_point::client_output, slot)));
  to.osnr->update(shown(osnr_db(of.at(measuring_point::preamp_output), system_.slots, slot)));
  for (std::size_t i = 0; i < sides.size(); ++i) {
    const wave_switch& device = switch_of(of, sides[i]);
    to.attenuation[i]->update(shown(device.true_attenuation_db(slot)));
    to.writes[i]->update(device.counters(slot).switch_attenuation);
  }
}

}  // namespace sim
