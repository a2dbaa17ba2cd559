// Definitions of manager::base: channel plans, channel commands, index and utilization.
#pragma once

#include <algorithm>
#include <iterator>

#include "base/manager/base.h"
#include "base/manager/channel_request.h"
#include "base/manager/loops/client_rx.h"
#include "base/manager/loops/client_tx.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/redis.h"
#include "models/band.h"

namespace manager {

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::setup_rx_channel_plan(nx_db& db) {
  retry_until_done([&] { client_rx_->setup_channel_plan(db); },
                   "Failed to setup RX channel-plan, retrying.");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::setup_tx_channel_plan(nx_db& db) {
  retry_until_done([&] { client_tx_->setup_channel_plan(db); },
                   "Failed to setup TX channel-plan, retrying.");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::init_client_rx(nx_db& db) {
  retry_until_done([&] { client_rx_->init(db); }, "Failed to initialize RX client, retrying.");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::init_client_tx(nx_db& db) {
  retry_until_done([&] { client_tx_->init(db); }, "Failed to initialize TX client, retrying.");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::tell_channel(::insight::event_kind kind, const char* direction,
                                    unsigned center) {
  ::insight::event_log::instance().tell(kind, ::insight::channel_subject(direction, center));
}

template <class RX_T, class TX_T>
bool base<RX_T, TX_T>::add_channel(const nx::json_document& request) {
  const auto add = [&] {
    if (!db_) throw nx_error(nx_error::io_failed, "Database not initialized.");
    if (!redis::instance().is_connected())
      throw nx_error(nx_error::io_failed, "Redis not connected.");
    const auto version = redis::instance().get_release_version();
    add_in_directions(read_add_request(request), version);
    refresh_published_channels();
  };
  helpers::logged_and_thrown(add, [] {});
  return true;
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::add_in_directions(const add_request& request, const std::string& version) {
  const auto& [center, width, port, directions] = request;
  if (directions.rx) {
    const log_subject subject("rx");
    LUMORA_LOG(2, "Adding RX channel with center {} and width {}.", center, width);
    client_rx_->add_channel(*db_, center, width, port, version);
    tell_channel(::insight::event_kind::channel_added, "rx", center);
  }
  if (directions.tx) {
    const log_subject subject("tx");
    LUMORA_LOG(2, "Adding TX channel with center {} and width {}.", center, width);
    client_tx_->add_channel(*db_, center, width, port, version);
    tell_channel(::insight::event_kind::channel_added, "tx", center);
  }
}

template <class RX_T, class TX_T>
bool base<RX_T, TX_T>::remove_channel(const nx::json_document& request) {
  const auto remove = [&] {
    if (!redis::instance().is_connected())
      throw nx_error(nx_error::io_failed, "Redis not connected.");
    remove_in_directions(read_remove_request(request));
    refresh_published_channels();
  };
  helpers::logged_and_thrown(remove, [] {});
  return true;
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::remove_in_directions(const remove_request& request) {
  const auto& [center, directions] = request;
  if (directions.rx) {
    const log_subject subject("rx");
    LUMORA_LOG(2, "Removing RX channel {}.", center);
    client_rx_->remove_channel(center);
    tell_channel(::insight::event_kind::channel_removed, "rx", center);
  }
  if (directions.tx) {
    const log_subject subject("tx");
    LUMORA_LOG(2, "Removing TX channel {}.", center);
    client_tx_->remove_channel(center);
    tell_channel(::insight::event_kind::channel_removed, "tx", center);
  }
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::refresh_published_channels() {
  update_channel_index();
  // A command may come between its own node and this value: start then updates both.
  if (api_is_whole_) update_utilization();
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::update_channel_index() {
  if (!channel_index_) {
    LUMORA_LOG(2, "Channel index variable not yet initialized.");
    return;
  }
  std::set<unsigned> identifiers;
  const std::lock_guard rx_lock(rx_plan_->get_mutex());
  for (const auto& [frequency, control] : *rx_plan_->get_channels()) {
    identifiers.insert(control->get_channel()->get_id());
  }
  const std::lock_guard tx_lock(tx_plan_->get_mutex());
  for (const auto& [frequency, control] : *tx_plan_->get_channels()) {
    identifiers.insert(control->get_channel()->get_id());
  }
  publish_channel_index(identifiers);
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::publish_channel_index(const std::set<unsigned>& identifiers) {
  const auto text = channel_index_text(identifiers);
  channel_index_->update(text);
  LUMORA_LOG(1, "Updated channel index for {} channels: '{}'.", identifiers.size(), text);
}

template <class RX_T, class TX_T>
float base<RX_T, TX_T>::get_slice_width() {
  return models::slice_ghz;
}

template <class RX_T, class TX_T>
unsigned base<RX_T, TX_T>::get_slice_count() {
  return models::shared_slices;
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::update_utilization() {
  float used_ghz = 0.0f;
  // Published under the same lock, so that the later of two counts stays.
  const std::lock_guard lock(rx_plan_->get_mutex());
  for (const auto& [frequency, control] : *rx_plan_->get_channels()) {
    used_ghz += control->get_channel()->get_width();
  }
  utilization_->update(band_utilization(used_ghz, get_slice_width(), get_slice_count()));
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::periodic_update() {
  update_utilization();
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::validate_channel_plans() {
  const auto identifiers_of = [](auto& plan) {
    const std::lock_guard lock(plan.get_mutex());
    std::set<unsigned> result;
    for (const auto& [frequency, control] : *plan.get_channels()) {
      result.insert(control->get_channel()->get_id());
    }
    return result;
  };
  const auto remove_extra = [](const auto& mine, const auto& other, const char* word, auto& loop) {
    std::set<unsigned> extra;
    std::set_difference(mine.begin(), mine.end(), other.begin(), other.end(),
                        std::inserter(extra, extra.end()));
    for (const unsigned id : extra) {
      LUMORA_LOG(2, "Channel {} is in the {} plan only, removing it.", id, word);
      loop.remove_channel(id);
    }
  };
  const auto rx = identifiers_of(*rx_plan_);
  const auto tx = identifiers_of(*tx_plan_);
  remove_extra(tx, rx, "TX", *client_tx_);
  remove_extra(rx, tx, "RX", *client_rx_);
}

}  // namespace manager
