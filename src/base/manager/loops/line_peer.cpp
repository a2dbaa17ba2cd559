#include "base/manager/loops/line_peer.h"

#include <algorithm>

namespace manager::loops {

namespace {

using namespace std::chrono_literals;
using operation = line_peer::operation;

// The slowest of the peer's values is measured every five seconds.
constexpr auto slowest_value = 5s;

}  // namespace

bool line_peer::look() {
  const bool up = is_up();
  const auto power = known(operation::get_line_tx_power);
  const auto arrivals = power ? power->arrivals : 0;
  const bool is_new = up && (!was_up_ || (power && arrivals < last_arrivals_));
  was_up_ = up;
  if (power || is_new) last_arrivals_ = arrivals;
  return is_new;
}

std::optional<float> line_peer::value(operation what) const {
  const auto number = known(what);
  return number ? std::optional(number->value) : std::nullopt;
}

std::optional<line_peer::time_point> line_peer::last_sign_of_life() const {
  auto newest = api_->last_answer();
  for (const auto what : remote::device::restless_values()) {
    if (const auto number = known(what)) {
      newest = newest ? std::max(*newest, number->arrived) : number->arrived;
    }
  }
  return newest;
}

bool line_peer::is_alive(time_point now) const {
  const auto newest = last_sign_of_life();
  return newest && now - *newest <= longest_silence;
}

bool line_peer::is_told_since(const reading& what, time_point since) const {
  if (what.arrived > since) return true;
  const auto newest = last_sign_of_life();
  return newest && *newest > since + slowest_value;
}

}  // namespace manager::loops
