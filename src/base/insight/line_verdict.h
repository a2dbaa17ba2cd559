// The line's result of its last cycle: its state, the reason, and the deciding figures. Filled in
// by the deciding phase, with the numbers that it has just used; the sentence is made when somebody
// reads it.
//
// A plain value; pure functions that throw nothing. Powers in dBm, attenuations and losses in dB,
// times in s.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "states/line_state.h"

namespace insight {

/// The figures of each are listed next to it, in the order of `line_verdict::figures`.
enum class line_reason : unsigned char {
  not_run_yet,
  system_started,  ///< coldstart: the VOA before the amplifiers
  voa_away,        ///< its service reports that it is not up
  failed,          ///< word: what
  no_light,        ///< preamp and supervisory channel are dark
  no_way_out,      ///< as before, but the far end's supervisory light comes in
  amplifiers_go_on,
  link_down,     ///< light comes in, but no supervisory channel
  link_one_way,  ///< as before, but the far end's supervisory light comes in
  nobody_answers,
  peer_is_lost,          ///< word: its product
  product_not_known,     ///< word: its product
  no_sign_of_life,       ///< seconds
  channels_stand_still,  ///< seconds; the peer answers, and its channel powers do not change
  nothing_new,           ///< the powers at the peer are those of the last look
  nothing_counts,        ///< no channel is lit at the peer and on target here
  calibration_not_known,
  peer_without_calibration,  ///< word: its product
  few_readings,              ///< readings, of
  not_steady,                ///< spread of the mean error, allowed
  others_turn,               ///< change that waits
  within_rest,               ///< mean error at the peer, target, change wanted
  fully_open,                ///< attenuation, change wanted
  at_its_end,                ///< attenuation, change wanted
  moved,                     ///< from, to
  not_answered,              ///< asked for, shown
  saturation_moved,          ///< saturation, from, to
  saturation_waits,          ///< saturation
  saturation_is_old,         ///< saturation
  saturation_unmoved,        ///< saturation
  saturation_lost,
  spans_not_known,
  spans_missing,      ///< for longer than a peer needs to tell them
  few_spans,          ///< looks, of
  spans_fit,          ///< out, in
  span_withheld,      ///< word: why
  gain_fits,          ///< gain, span
  managed_elsewhere,  ///< management software gives the span
  no_attenuator,      ///< a model without a line VOA
  node_leaves_alone,  ///< word: why
  count
};

struct line_verdict {
  line_reason reason = line_reason::not_run_yet;
  std::array<float, 3> figures{};
  std::string word{};
  /// Name of the guard that has withheld a write in this cycle; null if none has.
  const char* guard = nullptr;
  /// The VOA's attenuation, if it is left where it is; empty on a model without one.
  std::optional<float> attenuation{};
  /// The VOA has opened at its preset, in dB, and waits there for a peer that reports on the fibre.
  std::optional<float> preset{};
  /// When the line came into this state; if a silence is why, when that began. The one source of
  /// every "since".
  std::chrono::system_clock::time_point since{};

  bool operator==(const line_verdict&) const = default;
};

states::line_state state_of(line_reason reason);
/// For how long the readings stand still that are why it is in its state; 0 for other reasons.
std::chrono::milliseconds silence_of(const line_verdict& verdict);
/// What the daemon does about it and what a person can do, in a few words, for states that need
/// one: "amplifiers off, VOA at 5.0 dB; mend the fibre".
std::string brief_of(const line_verdict& verdict);
/// One sentence, or two if a person can do something.
std::string sentence_of(const line_verdict& verdict);

}  // namespace insight
