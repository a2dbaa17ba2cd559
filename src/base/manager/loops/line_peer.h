// The peer's values on which the line may base a write: numbers that arrived over the connection
// that is up now, with their age. A connection may outlive a loss of the fibre, with values from
// before it; `is_told_since` tells them apart.
//
// On the manager thread; throws nothing. Powers in dBm, gains and losses in dB.
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

  /// A living peer is asked every three seconds, and its taps show noise.
  static constexpr std::chrono::seconds longest_silence{10};

  explicit line_peer(std::shared_ptr<manager::remote::api> api) : api_(std::move(api)) {}

  /// Once a cycle. True if the connection is not the same as at the last look.
  bool look();

  bool is_up() const { return api_->is_up(); }
  bool is_known() const { return is_up() && api_->is_known(); }
  std::optional<reading> known(operation what) const { return api_->known(what); }
  std::optional<reading> known(operation what, unsigned channel) const {
    return api_->known(what, channel);
  }
  std::optional<float> value(operation what) const;

  /// When the peer last reported anything of its line, or answered; empty if nothing is known.
  std::optional<time_point> last_sign_of_life() const;
  bool is_alive(time_point now) const;
  /// A peer reports only changes: a constant value is up to date as long as another value or an
  /// answer, some time after `since`, shows that the peer is still reporting.
  bool is_told_since(const reading& what, time_point since) const;

 private:
  std::shared_ptr<manager::remote::api> api_;
  bool was_up_ = false;
  std::uint32_t last_arrivals_ = 0;
};

}  // namespace manager::loops
