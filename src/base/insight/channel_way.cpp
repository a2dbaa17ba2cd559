#include "base/insight/channel_way.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace insight {

namespace {

// A channel at rest that is beyond the dead band by this much has been moved by something.
constexpr float disturbance_db = 1.0f;
// Two successive readings of steady light differ by no more than this on any monitor in use.
constexpr float jump_db = 2.0f;
// More than the tremble of the fibre's measured length.
constexpr float wish_db = 0.2f;
// Beyond what a supervisory channel errs by.
constexpr float same_fibre_km = 2.0f;

// One or two monitor passes, and the switch's settling.
constexpr std::chrono::seconds patience_with_unblocking{10};

/// A look that could not see says nothing about the light.
bool could_see(const channel_verdict& now) {
  const auto state = now.state();
  return state != states::channel_state::reading_unknown &&
         state != states::channel_state::device_failed && state != states::channel_state::loop_down;
}

float larger(float one, float other) {
  return std::fabs(other) > std::fabs(one) ? other : one;
}

}  // namespace

const char* name_of(way_cause cause) {
  constexpr const char* names[] = {"lit", "added", "unblocked", "target", "disturbed"};
  return names[static_cast<unsigned>(cause)];
}

float way::seconds(time_point now) const {
  return std::chrono::duration<float>(arrived.value_or(now) - begin).count();
}

// Nobody has moved a target that follows the fibre's length: when the node starts, it is known some
// seconds after the light.
bool channel_way::is_target_moved(const channel_verdict& now) const {
  const bool is_other_fibre = std::fabs(now.fibre_km - fibre_km_) > same_fibre_km;
  return !is_other_fibre && std::fabs(now.wish - wish_) > wish_db;
}

std::optional<way_cause> channel_way::cause_of(const channel_verdict& now) const {
  if (!now.lit || !is_figure(now.error)) return std::nullopt;
  if (unblocked_at_) return way_cause::unblocked;
  if (!was_lit_) return is_new_ ? way_cause::added : way_cause::lit;
  if (is_target_moved(now)) return way_cause::target;
  if (at_rest_ && std::fabs(now.error) > now.dead_band + disturbance_db)
    return way_cause::disturbed;
  return std::nullopt;
}

void channel_way::set_out(way_cause cause, const channel_verdict& now) {
  present_ = way{.cause = cause, .begin = unblocked_at_.value_or(now.at), .from = now.error};
  unblocked_at_.reset();
  is_new_ = at_rest_ = false;
}

void channel_way::follow(const channel_verdict& now) {
  if (now.step != 0) {
    ++present_->steps;
    present_->largest_step = larger(present_->largest_step, now.step);
  }
  if (!is_figure(now.error)) return;
  const float side = present_->from < 0 ? -1.0f : 1.0f;
  present_->beyond = std::max(present_->beyond, -side * now.error);
}

void channel_way::note_jump(const channel_verdict& now, news& told) {
  const float light = now.measured + now.attenuation;
  told.is_disturbed = now.lit && std::fabs(light - light_) >= jump_db;
  light_ = now.lit ? light : no_figure;
}

void channel_way::note_exhaustion(const channel_verdict& now, news& told) {
  const auto state = now.state();
  const bool exhausted =
      state == states::channel_state::too_weak || state == states::channel_state::too_strong;
  told.exhausted = exhausted && !is_exhausted_;
  // A channel that waits for a reading may still be exhausted: the next judgement will show.
  if (exhausted || now.is_settled || !now.lit || now.step != 0) is_exhausted_ = exhausted;
}

void channel_way::note_light(const channel_verdict& now, news& told) {
  const bool is_blocked = now.state() == states::channel_state::blocked;
  if (is_blocked_ && !is_blocked) unblocked_at_ = now.at;
  const bool gives_up = unblocked_at_ && now.at - *unblocked_at_ > patience_with_unblocking;
  if (is_blocked || (gives_up && !now.lit)) unblocked_at_.reset();
  told.went_dark = was_lit_ && !now.lit && !is_blocked;
  told.came_on = !was_lit_ && now.lit && !unblocked_at_;
  is_blocked_ = is_blocked;
}

channel_way::news channel_way::look(const channel_verdict& now) {
  news told;
  if (!could_see(now)) return told;
  note_light(now, told);
  note_jump(now, told);
  note_exhaustion(now, told);
  if (!now.lit || now.state() == states::channel_state::unmanaged) {
    present_.reset();
    at_rest_ = false;
  } else if (const auto cause = cause_of(now)) {
    set_out(*cause, now);
    told.set_out = true;
    told.set_out_by_wish = cause == way_cause::target || cause == way_cause::unblocked;
  }
  was_lit_ = now.lit;
  if (is_figure(now.wish)) wish_ = now.wish;
  if (is_figure(now.fibre_km)) fibre_km_ = now.fibre_km;
  if (!present_) return told;
  follow(now);
  if (now.is_settled) {
    present_->arrived = now.at;
    finished_ = std::exchange(present_, std::nullopt);
    at_rest_ = told.arrived = true;
  }
  return told;
}

void channel_way::felt(const neighbour& other) {
  auto& of = present_ ? present_ : finished_;
  if (!of) return;
  auto& most = of->felt_most;
  if (!most || std::fabs(other.moved) > std::fabs(most->moved)) most = other;
}

}  // namespace insight
