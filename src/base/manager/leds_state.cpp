// What the loops report to the LED manager, and the resulting colours.
#include <fmt/format.h>

#include "base/guards/panel.h"
#include "base/manager/leds.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace manager {

struct leds::panel {
  std::vector<led_data> client;
  led_data line;
  std::vector<led_data> xc;

  std::vector<led_data>& row(led_row which) { return which == led_row::client ? client : xc; }
};

namespace {

/// A change that has not been written yet stays marked until a write has cleared it.
void mark_change(const led_data& shown, led_data& fresh) {
  fresh.changed = shown.tx != fresh.tx || shown.rx != fresh.rx || shown.changed;
}

bool mark_changes(const std::vector<led_data>& shown, std::vector<led_data>& fresh) {
  bool any = false;
  for (std::size_t i = 0; i < fresh.size(); ++i) {
    mark_change(shown[i], fresh[i]);
    any = any || fresh[i].changed;
  }
  return any;
}

void log_green(const std::string& led, bool rx) {
  LUMORA_LOG_DIRECT(7, "update_led_statuses",
                    led + (rx ? " Rx led to status green." : " Tx led to status green."));
}

/// Null, and logged, if nobody has added the channel.
channelDB_t* find_or_log(std::unordered_map<unsigned, channelDB_t>& channels, unsigned channel,
                         const char* operation, const char* failure) {
  const auto found = channels.find(channel);
  if (found != channels.end()) return &found->second;
  LUMORA_LOG_DIRECT(3, operation, failure + std::to_string(channel));
  return nullptr;
}

void set_loss_of_signal(channelDB_t* entry, bool value) {
  if (!entry) return;
  entry->loss_of_signal = value;
  entry->los_known = true;
}

void set_port(channelDB_t* entry, unsigned port) {
  if (!entry) return;
  entry->port = port;
  entry->port_known = true;
}

}  // namespace

void leds::add_rx_channel(unsigned channel) {
  const std::lock_guard lock(mutex_);
  rx_channels_.try_emplace(channel);
}

void leds::remove_rx_channel(unsigned channel) {
  const std::lock_guard lock(mutex_);
  rx_channels_.erase(channel);
}

void leds::add_tx_channel(unsigned channel) {
  const std::lock_guard lock(mutex_);
  tx_channels_.try_emplace(channel);
}

void leds::remove_tx_channel(unsigned channel) {
  const std::lock_guard lock(mutex_);
  tx_channels_.erase(channel);
}

void leds::update_rx_loss_of_signal(unsigned channel, bool value) {
  const std::lock_guard lock(mutex_);
  set_loss_of_signal(find_or_log(rx_channels_, channel, "update_rx_loss_of_signal",
                                 "Failed to update rx loss of signal for channel "),
                     value);
}

void leds::update_tx_loss_of_signal(unsigned channel, bool value) {
  const std::lock_guard lock(mutex_);
  set_loss_of_signal(find_or_log(tx_channels_, channel, "update_tx_loss_of_signal",
                                 "Failed to update tx loss of signal for channel "),
                     value);
}

void leds::update_rx_port(unsigned channel, unsigned port) {
  const std::lock_guard lock(mutex_);
  set_port(
      find_or_log(rx_channels_, channel, "update_rx_port", "Failed to update rx port for channel "),
      port);
}

void leds::update_tx_port(unsigned channel, unsigned port) {
  const std::lock_guard lock(mutex_);
  set_port(
      find_or_log(tx_channels_, channel, "update_tx_port", "Failed to update tx port for channel "),
      port);
}

void leds::set_line_rx_los(bool value) {
  const std::lock_guard lock(mutex_);
  line_rx_los_ = value;
  line_rx_known_ = true;
}

void leds::set_line_tx_enabled(bool value) {
  const std::lock_guard lock(mutex_);
  line_tx_enabled_ = value;
  line_tx_known_ = true;
}

bool leds::light_channels(const channel_table& channels, bool port_needed, const led_rule& place_of,
                          std::string led_data::*side, panel& fresh) const {
  bool all_known = true;
  for (const auto& [key, entry] : channels) {
    const bool has_place = !port_needed || entry.port_known;
    const auto place = has_place ? place_of(key, entry) : std::nullopt;
    if (!entry.los_known || !has_place) {
      all_known = false;
      // Without a port it may be any LED of this side.
      if (place || !has_place) keep_side(fresh, side, place);
      continue;
    }
    if (entry.loss_of_signal) continue;
    if (!place || place->index >= fresh.row(place->row).size()) continue;
    fresh.row(place->row)[place->index].*side = led_status_green;
    const auto led = place->row == led_row::client ? fmt::format("Updating channel {}", key)
                                                   : fmt::format("Updating XC{}", place->index + 1);
    log_green(led, side == &led_data::rx);
  }
  return all_known;
}

/// An LED keeps showing what it shows; so do all of the side if its place is unknown. One that
/// another channel makes green is green.
void leds::keep_side(panel& fresh, std::string led_data::*side,
                     std::optional<led_place> place) const {
  const auto keep = [&](const std::vector<led_data>& shown, std::vector<led_data>& row,
                        std::size_t i) {
    if (row[i].*side != led_status_green) row[i].*side = shown[i].*side;
  };
  if (place) {
    auto& row = fresh.row(place->row);
    const auto& shown = place->row == led_row::client ? client_leds_ : xc_leds_;
    if (place->index < row.size()) keep(shown, row, place->index);
    return;
  }
  for (std::size_t i = 0; i < fresh.client.size(); ++i)
    keep(client_leds_, fresh.client, i);
  for (std::size_t i = 0; i < fresh.xc.size(); ++i)
    keep(xc_leds_, fresh.xc, i);
}

bool leds::may_write(bool all_known) {
  const auto now = helpers::steady_now();
  if (all_known) {
    unknown_since_.reset();
  } else if (!unknown_since_) {
    unknown_since_ = now;
  }
  const bool waits =
      guards::panel_waits_for_channels(all_known, now - unknown_since_.value_or(now));
  helpers::guard_register::instance().show(
      guards::panel_unknown_channel, "panel", !all_known && !waits,
      "a channel has not reported its state, the others are shown");
  return !waits;
}

void leds::light_line(panel& fresh) const {
  if (line_rx_known_ && !line_rx_los_) {
    fresh.line.rx = led_status_green;
    log_green("Updating Line", true);
  }
  if (line_tx_known_ && line_tx_enabled_) {
    fresh.line.tx = led_status_green;
    log_green("Updating Line", false);
  }
}

void leds::apply_statuses(bool port_needed, const led_rule& place_of) {
  const std::lock_guard lock(mutex_);
  panel fresh{
      std::vector<led_data>(client_leds_.size()), {}, std::vector<led_data>(xc_leds_.size())};
  const bool rx_known = light_channels(rx_channels_, port_needed, place_of, &led_data::rx, fresh);
  const bool tx_known = light_channels(tx_channels_, port_needed, place_of, &led_data::tx, fresh);
  light_line(fresh);
  const bool client_changed = mark_changes(client_leds_, fresh.client);
  const bool xc_changed = mark_changes(xc_leds_, fresh.xc);
  if (line_rx_known_ && line_tx_known_) mark_change(line_led_, fresh.line);
  needs_update_ =
      may_write(rx_known && tx_known) && (client_changed || xc_changed || fresh.line.changed);
  client_leds_ = std::move(fresh.client);
  xc_leds_ = std::move(fresh.xc);
  line_led_ = std::move(fresh.line);
}

}  // namespace manager
