#include "base/guards/channel_step.h"

#include <algorithm>
#include <cmath>

namespace guards {

namespace {

using namespace std::chrono_literals;

// Half the step of the coarsest switch in use, 0.5 dB, and its rounding.
constexpr float coarsest_half_step_db = 0.26f;
// A read-back may tremble by a few hundredths of a dB.
constexpr float trembling_db = 0.05f;
constexpr auto rest_of_read_back = 1s;

// Switches move within 2 s of a write: one that shows nothing after 5 s has lost it.
constexpr auto first_patience = 5s;
constexpr auto longest_patience = 30s;

// Below this, noise and the switch's own step hide an effect.
constexpr float visible_step_db = 1.0f;
constexpr float adoptable_step_db = 0.5f;
constexpr float least_share_of_effect = 0.25f;
constexpr float tolerance_db = 0.3f;
constexpr float tolerance_share = 0.3f;
constexpr auto patience_for_effect = 30s;
// An earlier reading that shows the step also counts as its effect if no other follows: a monitor
// without noise reports nothing new.
constexpr auto patience_for_reading = 2500ms;
constexpr float whole_effect_share = 0.1f;
// Services repeat old readings for about 20 s after a restart.
constexpr auto believed_unchanged = 22s;

constexpr auto slowest_pass = 5s;

constexpr float rising_db = 0.5f;
constexpr auto quiet_monitor = 2s;
constexpr auto longest_rise = 30s;

constexpr float saturated_db = 1.0f;
constexpr float hiding_db = 0.2f;
// The monitor may report light that it measured a pass ago.
constexpr auto behind_saturation = 1s;

constexpr float same_target_db = 0.005f;

std::chrono::seconds patience(unsigned futile_tries) {
  const auto doubled = first_patience * (1LL << std::min(futile_tries, 3U));
  return std::min<std::chrono::seconds>(doubled, longest_patience);
}

}  // namespace

bool is_near(float attenuation, float target) {
  return std::fabs(attenuation - target) <= coarsest_half_step_db;
}

void last_step::made(float from, float target, const channel_view& view) {
  const bool again = step_ && !step_->moved_at && is_near(step_->target, target);
  step_ = {.from = from,
           .target = target,
           .read_back = view.attenuation,
           .power = view.power,
           .at = view.now,
           .futile_tries = again ? step_->futile_tries + 1 : 0,
           .shown = view.attenuation,
           .shown_at = view.now,
           .moved_at = std::nullopt,
           .followed = false,
           .shown_in_light = false};
}

void last_step::forget() {
  step_.reset();
}

bool last_step::shows_in(const channel_view& view) const {
  if (view.power_at <= *step_->moved_at) return false;
  const float expected = step_->from - view.attenuation;
  if (std::fabs(expected) < visible_step_db || view.saturated_at >= step_->at) return true;
  return (view.power - step_->power) / expected >= least_share_of_effect;
}

void last_step::look(const channel_view& view) {
  if (!step_) return;
  look_for_movement(view);
  if (step_->moved_at && shows_in(view)) step_->shown_in_light = true;
}

void last_step::look_for_movement(const channel_view& view) {
  if (step_->moved_at) return;
  if (std::fabs(view.attenuation - step_->shown) > trembling_db) {
    step_->shown = view.attenuation;
    step_->shown_at = view.attenuation_at;
  }
  const float size = std::fabs(step_->target - step_->from);
  const float near_target = std::min(coarsest_half_step_db, std::max(size / 2, trembling_db));
  const bool has_moved = view.attenuation != step_->read_back;
  if (has_moved && std::fabs(view.attenuation - step_->target) <= near_target) {
    step_->moved_at = view.attenuation_at;
  } else if (step_->shown != step_->read_back && view.now - step_->shown_at >= rest_of_read_back) {
    step_->moved_at = step_->shown_at;
  }
  // A read-back that did not move while the light did says nothing about the next steps either.
  const bool is_dead = std::fabs(step_->from - step_->read_back) > trembling_db;
  if (has_expired(view) && (is_dead || light_followed(view))) step_->followed = true;
}

wait_for last_step::waits_for(const channel_view& view) const {
  if (!step_) return wait_for::none;
  if (!step_->moved_at) {
    return has_expired(view) ? wait_for::none : wait_for::switch_to_move;
  }
  if (step_->shown_in_light) return wait_for::none;
  if (view.power_at <= *step_->moved_at) {
    const float expected = step_->from - view.attenuation;
    const bool shows_all =
        view.power != step_->power && missing_effect(view, expected, whole_effect_share) <= 0;
    const bool overdue = view.now - *step_->moved_at >= patience_for_reading;
    return shows_all && overdue ? wait_for::none : wait_for::new_reading;
  }
  return view.now - *step_->moved_at >= patience_for_effect ? wait_for::none : wait_for::effect;
}

bool last_step::has_expired(const channel_view& view) const {
  return step_ && !step_->moved_at && view.now - step_->at >= patience(step_->futile_tries);
}

/// How far the light is from the step's full effect, less the normal scatter between readings of
/// the same light; zero or less means that it shows the full effect.
float last_step::missing_effect(const channel_view& view, float expected, float share) const {
  const float apart = std::fabs(view.power - step_->power - expected);
  return apart - std::max(tolerance_db, share * std::fabs(expected));
}

bool last_step::light_followed(const channel_view& view) const {
  const float expected = step_->from - step_->target;
  return std::fabs(expected) >= adoptable_step_db && view.power_at > step_->at &&
         missing_effect(view, expected, tolerance_share) <= 0;
}

float last_step::standing_attenuation(const channel_view& view) const {
  if (!step_ || step_->moved_at) return view.attenuation;
  return step_->followed ? step_->target : step_->from;
}

bool last_step::is_futile(const channel_view& view, float target) const {
  if (!step_ || !is_near(view.attenuation, target)) return false;
  const bool was_written = std::fabs(step_->target - target) <= same_target_db;
  const bool is_unresolved =
      !step_->moved_at && step_->futile_tries > 0 && is_near(step_->target, target);
  return was_written || is_unresolved;
}

void live_reading::look(unsigned arrivals, unsigned changes, time_point now) {
  const bool begins_anew = arrivals > 0 && changes == 0 && (!has_value_ || has_changed_);
  if (begins_anew) since_ = now;
  has_value_ = arrivals > 0;
  has_changed_ = changes > 0;
}

bool live_reading::is_live(time_point now) const {
  return has_value_ && (has_changed_ || now - since_ >= believed_unchanged);
}

void blind_monitor::look(bool any_lit, bool any_changed, bool amplifier_lit, time_point now) {
  in_doubt_ = !any_lit && !any_changed && amplifier_lit;
  if (!since_) since_ = now;
  if (!in_doubt_) since_ = now;
}

bool blind_monitor::may_be_blind(time_point now) const {
  return in_doubt_ && since_ && now - *since_ < slowest_pass;
}

void rising_light::look(bool lit, const channel_view& view) {
  const bool is_new = view.power_at != power_at_;
  if (lit && !lit_) {
    lit_at_ = view.now;
    steady_ = false;
    rise_.reset();
  } else if (lit && is_new) {
    rise_ = view.power - power_;
    steady_ = steady_ || *rise_ < rising_db;
  }
  lit_ = lit;
  if (!is_new) return;
  power_ = view.power;
  power_at_ = view.power_at;
}

bool rising_light::may_overtake(const channel_view& view, float left_over) const {
  if (steady_ || !lit_ || view.now - lit_at_ >= longest_rise) return false;
  const bool tells_nothing_new = view.now - std::max(power_at_, lit_at_) >= quiet_monitor;
  return !tells_nothing_new && (!rise_ || *rise_ > left_over);
}

void amplifier_saturation::look(float saturation, time_point now) {
  const bool saturated = saturation > saturated_db;
  if (saturation > hiding_db) last_seen_ = now;
  if (saturated && !saturated_) since_ = now;
  if (!saturated && saturated_) ended_ = now;
  saturated_ = saturated;
}

bool amplifier_saturation::forbids_opening(time_point power_at) const {
  return saturated_ || (ended_ && power_at <= *ended_ + behind_saturation);
}

std::chrono::nanoseconds amplifier_saturation::lasting(time_point now) const {
  return saturated_ ? now - since_ : std::chrono::nanoseconds(0);
}

}  // namespace guards
