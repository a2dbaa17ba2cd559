#include "base/insight/channel_text.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

namespace insight {

namespace {

using enum channel_reason;
using states::channel_state;

struct reason_row {
  channel_reason reason;
  channel_state state;
  const char* text;  ///< after "3.1 dB too strong; ", if there is such a figure
};

// In the order of the enumeration.
constexpr std::array<reason_row, static_cast<unsigned>(channel_reason::count)> reasons{{
    {not_looked_at, channel_state::reading_unknown, "not looked at yet"},
    {no_light, channel_state::dark, "parked"},
    {no_light_left_alone, channel_state::dark, "left alone"},
    {parking_beyond_range, channel_state::dark,
     "the default attenuation is lighter than the switch can be"},
    {doubtful_darkness, channel_state::reading_unknown,
     "the newest report of monitor or switch is no reading"},
    {blind_monitor, channel_state::reading_unknown,
     "the amplifier sees light, and the monitor has not measured yet"},
    {blocked, channel_state::blocked, "blocked by the operator"},
    {unblocked, channel_state::waiting_for_switch, "just unblocked, waiting for the switch"},
    {held_at_default, channel_state::unmanaged,
     "held at its default attenuation; nothing regulates this direction"},
    {node_leaves_alone, channel_state::unmanaged, "left alone, as the node's automation mode asks"},
    {mode_not_set, channel_state::unmanaged,
     "left alone: its optical control mode has not been set"},
    {mode_leaves_alone, channel_state::unmanaged,
     "left alone, as its optical control mode gainLoss asks"},
    {channel_reason::on_target, channel_state::on_target, "on target"},
    {in_dead_band, channel_state::resting_off_target, "inside the dead band"},
    {as_near_as_the_switch, channel_state::resting_off_target,
     "the switch stands where the next step would take it"},
    {others_turn, channel_state::waiting_for_turn, "to be stepped when it has the turn"},
    {stepped, channel_state::stepping, "stepped in this cycle"},
    {reading_repeats, channel_state::waiting_for_monitor, "waiting for another reading"},
    {attenuation_repeats, channel_state::waiting_for_switch, "waiting for the switch to move"},
    {switch_not_moved, channel_state::waiting_for_switch, "waiting for the switch to move"},
    {reading_before_move, channel_state::waiting_for_monitor,
     "waiting for a reading from after the switch has moved"},
    {step_not_in_light, channel_state::waiting_for_monitor,
     "waiting for the step to show in the light"},
    {monitor_not_live, channel_state::waiting_for_monitor,
     "no reading of the monitor has changed since its start"},
    {light_rises, channel_state::waiting_for_monitor, "the light has just come on and still rises"},
    {fully_open, channel_state::too_weak, "the attenuator is fully open"},
    {at_its_end, channel_state::too_strong, "the attenuator is at its end"},
    {channel_reason::amplifier_saturated, channel_state::amplifier_saturated,
     "the amplifier gives more than 1 dB less than its gain, and opening would not help"},
    {reading_of_saturation, channel_state::amplifier_saturated,
     "the reading is of when the amplifier was in saturation"},
    {channel_reason::reading_unknown, channel_state::reading_unknown,
     "the newest report of monitor or switch is no reading"},
    {channel_reason::device_failed, channel_state::device_failed, "a device does not answer"},
    {channel_reason::loop_down, channel_state::loop_down, "the loop is down"},
}};

constexpr bool is_in_order() {
  for (unsigned i = 0; i < reasons.size(); ++i)
    if (static_cast<unsigned>(reasons[i].reason) != i) return false;
  return true;
}
static_assert(is_in_order());

const reason_row& row_of(channel_reason reason) {
  return reasons.at(static_cast<unsigned>(reason));
}

std::string steps_text(unsigned steps) {
  if (steps == 0) return "";
  return steps == 1 ? "one step made, " : fmt::format("{} steps made, ", steps);
}

bool waits_for_a_step(channel_reason reason) {
  return reason == reading_repeats || reason == attenuation_repeats || reason == switch_not_moved ||
         reason == reading_before_move || reason == step_not_in_light;
}

std::string off_by(float error) {
  // A figure that rounds to zero is neither.
  if (std::fabs(error) < 0.05f) return "as strong as wanted";
  return fmt::format("{:.1f} dB too {}", std::fabs(error), error > 0 ? "strong" : "weak");
}

std::string figures_of(const channel_verdict& verdict, const channel_history& history) {
  const auto* text = row_of(verdict.reason).text;
  if (verdict.reason == stepped) return fmt::format("a step of {:+.1f} dB made", verdict.step);
  if (verdict.reason == in_dead_band)
    return fmt::format("{} of {:.1f} dB", text, verdict.dead_band);
  if (!waits_for_a_step(verdict.reason)) return text;
  const auto waited =
      is_figure(history.since_step) ? fmt::format(" ({:.1f} s)", history.since_step) : "";
  return steps_text(history.steps) + text + waited;
}

}  // namespace

states::channel_state state_of(channel_reason reason) {
  return row_of(reason).state;
}

std::string why(const channel_verdict& verdict, const channel_history& history) {
  const auto* text = row_of(verdict.reason).text;
  if (!verdict.failure.empty()) return fmt::format("{}: {}", text, verdict.failure);
  if (verdict.state() == channel_state::dark) {
    const auto* from = history.is_rx ? "client" : "line";
    const auto at = is_figure(verdict.attenuation)
                        ? fmt::format(" at {:.1f} dB", verdict.attenuation)
                        : std::string();
    return fmt::format("no light from the {}; {}{}", from, text, at);
  }
  if (!is_figure(verdict.error)) return text;
  return fmt::format("{}; {}", off_by(verdict.error), figures_of(verdict, history));
}

std::string absence(const channel_verdict& verdict, const channel_history& history) {
  return "No value: " + why(verdict, history);
}

std::string thz(unsigned frequency) {
  constexpr unsigned per_thz = 100000;
  constexpr unsigned per_ten_ghz = 1000;
  const int digits = frequency % per_ten_ghz == 0 ? 2 : 3;
  return fmt::format("{:.{}f}", double{static_cast<double>(frequency)} / per_thz, digits);
}

}  // namespace insight
