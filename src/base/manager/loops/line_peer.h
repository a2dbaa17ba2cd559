// What the line may rest a write on of the peer: numbers that came over the connection that is up
// now, with their age. What was told before the fibre was lost may still stand on a connection that
// outlived the loss; `is_told_since` tells it apart.
//
// On the manager thread; throws nothing. Powers dBm, gains and losses dB.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "base/manager/remote/api.h"
#include "device/subscriber.h"

namespace manager::loops {

class line_peer {
 public:
  using operation = manager::remote::device::operation;
  using reading = ::device::reading<float>;
  using time_point = std::chrono::steady_clock::time_point;

  explicit line_peer(std::shared_ptr<manager::remote::api> api) : api_(std::move(api)) {}

  /// Once a cycle. True when the connection is another one than at the last look.
  bool look();

  bool is_up() const { return api_->is_up(); }
  bool is_known() const { return is_up() && api_->is_known(); }
  std::optional<reading> known(operation what) const { return api_->known(what); }
  std::optional<reading> known(operation what, unsigned channel) const {
    return api_->known(what, channel);
  }
  std::optional<float> value(operation what) const;

  /// When the peer told anything of its line last, or answered; empty if nothing is known.
  std::optional<time_point> last_sign_of_life() const;
  bool is_alive(time_point now) const;
  /// A peer tells changes alone: what stands still is up to date as long as something else, told or
  /// answered a while after `since`, shows that it goes on telling.
  bool is_told_since(const reading& what, time_point since) const;

 private:
  std::shared_ptr<manager::remote::api> api_;
  bool was_up_ = false;
  std::uint32_t last_arrivals_ = 0;
};

}  // namespace manager::loops
