// Definitions of channel::plan; included where it is instantiated.
#pragma once

#include <fmt/format.h>

#include "base/channel/plan.h"
#include "base/insight/channel_board.h"
#include "helpers/logger.h"
#include "helpers/redis.h"

namespace channel {

template <class T>
plan<T>::plan(unsigned slices, std::string direction)
    : channels_(std::make_shared<channel_map>()),
      slices_(slices),
      mutex_(direction == "rx" ? nx::lock_rank::plan_rx : nx::lock_rank::plan_tx),
      direction_(std::move(direction)),
      board_(std::make_shared<insight::channel_board>(direction_)) {
  LUMORA_LOG(2, "Channel plan in direction '{}' created with {} slices", direction_, slices_);
}

template <class T>
std::shared_ptr<T> plan<T>::add_channel(unsigned frequency, unsigned width, unsigned port,
                                        std::string version) {
  auto control = std::make_shared<T>();
  const auto added = control->get_channel();
  added->set_id(frequency);
  added->set_width(width);
  added->set_center_frequency(frequency);
  added->set_direction(direction_);
  added->set_wss_port(port);
  added->set_created_version(std::move(version));
  (*channels_)[added->get_id()] = control;
  LUMORA_LOG(2, "Channel at {} added as '{}', with width {}, to channel plan {}.", frequency,
             added->get_id(), width, direction_);
  return control;
}

template <class T>
void plan<T>::remove_channel(unsigned frequency) {
  if (channels_->erase(frequency) == 0) {
    LUMORA_LOG(2, "remove_channel({}): Channel not found in channel plan.", frequency);
    return;
  }
  LUMORA_LOG(2, "Channel at {} removed from channel plan {}.", frequency, direction_);
}

template <class T>
std::optional<std::shared_ptr<T>> plan<T>::get_channel(unsigned frequency) {
  const std::lock_guard lock(mutex_);
  const auto found = channels_->find(frequency);
  if (found == channels_->end()) return std::nullopt;
  return found->second;
}

template <class T>
std::string plan<T>::store_key() const {
  return fmt::format("{}:qz/lumora:channel/plan/{}", redis::instance().get_hash_tags().first,
                     direction_);
}

template <class T>
std::string plan<T>::to_json() {
  std::vector<plan_entry> entries;
  for (const auto& [frequency, control] : *channels_) {
    const auto channel = control->get_channel();
    entries.push_back({channel->get_center_frequency(), channel->get_raw_width(),
                       channel->get_wss_port(), channel->get_created_version()});
  }
  return plan_to_text(entries);
}

template <class T>
void plan<T>::save() {
  const auto key = store_key();
  const auto text = to_json();
  LUMORA_LOG(1, "Saving channel plan {} to {}: {}", direction_, key, text);
  redis::instance().set(key, text);
}

template <class T>
void plan<T>::load() {
  const auto text = redis::instance().get(store_key());
  channels_->clear();
  replace_with(parse_plan(text, slices_), text);
}

template <class T>
void plan<T>::replace_with(const parsed_plan& stored, const std::string& text) {
  for (const auto& entry : stored.entries) {
    add_channel(entry.center_frequency, entry.width, entry.port, entry.version);
  }
  if (stored.left_out > 0) {
    LUMORA_LOG(2, "Channel plan has JSON errors: {}", text);
    LUMORA_LOG(2, "Left out {} entries of the stored channel plan {}, the first: {}",
               stored.left_out, direction_, stored.first_fault);
  }
  LUMORA_LOG(2, "Loaded channel plan {} with {} channels.", direction_, channels_->size());
}

}  // namespace channel
