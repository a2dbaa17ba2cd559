#include "base/insight/line_verdict.h"

#include <fmt/format.h>

#include <algorithm>

namespace insight {

namespace {

using enum states::line_state;

struct row {
  line_reason reason;
  states::line_state state;
  const char* sentence;  ///< {0} to {2} are the figures, {3} the word, {4} where the VOA is
};

// clang-format off
constexpr auto rows = std::to_array<row>({
    {line_reason::not_run_yet, waiting_for_readings, "the line has not had its first cycle yet"},
    {line_reason::system_started, waiting_for_readings, "the whole system has started: the VOA is set before the amplifiers are switched on"},
    {line_reason::voa_away, device_failed, "the VOA reports that it is not up: nothing is done until it is. Check the service voa_sfp"},
    {line_reason::failed, device_failed, "{3}"},
    {line_reason::no_light, no_fibre, "neither light nor supervisory channel comes in: the amplifiers are off{4}. Mend the fibre, the line then opens by itself"},
    {line_reason::no_way_out, no_fibre, "no signal comes in and the far end does not answer, but its supervisory light arrives: the amplifiers are off{4}. Mend the fibre that goes out, the line then opens by itself"},
    {line_reason::amplifiers_go_on, waiting_for_readings, "preamp and booster have just been switched on"},
    {line_reason::link_down, no_supervisory_link, "light comes in, but the supervisory channel is down: the peer cannot be read{4}. Check the supervisory optics at both ends"},
    {line_reason::link_one_way, no_supervisory_link, "the supervisory light of the far end arrives, but it does not hear this node: the peer cannot be read{4}. Look at the fibre that goes out, and at this node's supervisory optics"},
    {line_reason::nobody_answers, no_peer, "nobody answers at the other end of the supervisory link{4}. Check the far node and this node's supervisory interface"},
    {line_reason::peer_is_lost, no_peer, "the connection to the peer ({3}) is lost{4}. Check the far node; the connection is restored by itself"},
    {line_reason::product_not_known, peer_not_known, "the peer calls itself {3}, which this node does not know{4}. Set the line by hand, or give both ends software that knows the other"},
    {line_reason::no_sign_of_life, peer_stands_still, "the peer is connected but has reported nothing new for {0:.0f} s. Check its daemon and its monitor"},
    {line_reason::channels_stand_still, peer_stands_still, "the peer answers, but no channel power there has changed for {0:.0f} s: nothing is known of the light that arrives{4}. Look at switch, monitor and preamp of the far node"},
    {line_reason::nothing_new, waiting_for_readings, "no channel power at the peer has changed since the last look"},
    {line_reason::nothing_counts, waiting_for_readings, "no channel counts yet: it has to be lit at the peer and on target here"},
    {line_reason::calibration_not_known, waiting_for_readings, "the peer has not reported its calibration yet"},
    {line_reason::peer_without_calibration, not_regulated, "a peer of the kind of {3} does not report what the VOA is regulated by{4}"},
    {line_reason::few_readings, waiting_for_readings, "{0:.0f} of {1:.0f} new readings of the peer since the last step"},
    {line_reason::not_steady, not_steady, "the mean error at the peer still moves: {0:.2f} dB over its last readings, {1:.2f} dB is allowed"},
    {line_reason::others_turn, client_rx_turn, "client rx has channels to step first; then the VOA is to change by {0:+.2f} dB"},
    {line_reason::within_rest, at_rest, "the channels at the peer are {0:+.2f} dB from their target of {1:.1f} dBm on average; a step of {2:+.2f} dB is too small to make"},
    {line_reason::fully_open, exhausted, "the VOA is fully open at {0:.1f} dB, and the peer needs {1:+.2f} dB. The span loses more than the node can make up for"},
    {line_reason::at_its_end, exhausted, "the VOA is at its limit of {0:.1f} dB, and the peer needs {1:+.2f} dB. The span loses less than the node can take away"},
    {line_reason::moved, stepping, "the VOA is moved from {0:.1f} to {1:.1f} dB"},
    {line_reason::not_answered, stepping, "the VOA was asked for {0:.1f} dB and still shows {1:.1f} dB"},
    {line_reason::saturation_moved, far_preamp_saturated, "the far preamp lacks {0:.1f} dB of its gain: the VOA is moved from {1:.1f} to {2:.1f} dB"},
    {line_reason::saturation_waits, far_preamp_saturated, "the far preamp lacks {0:.1f} dB of its gain; waiting for the effect of the last step"},
    {line_reason::saturation_is_old, peer_stands_still, "the peer reported that its preamp lacks {0:.1f} dB of its gain, and nothing new since the last step"},
    {line_reason::saturation_unmoved, far_preamp_saturated, "the far preamp lacks {0:.1f} dB of its gain, and no step has changed that. Check the far preamp"},
    {line_reason::saturation_lost, waiting_for_readings, "it is no longer known whether the far preamp is saturated: it gets no more light"},
    {line_reason::spans_not_known, waiting_for_readings, "the peer has not reported the losses of this fibre's spans"},
    {line_reason::spans_missing, peer_stands_still, "the peer is connected and does not tell the power that it sends, so the span is not known: the gain stays as it is. Look at the line's devices at the far node"},
    {line_reason::few_spans, waiting_for_readings, "{0:.0f} of {1:.0f} looks at the spans of the in-line amplifier"},
    {line_reason::spans_fit, at_rest, "VOA and preamp are set for the spans of {0:.1f} dB out and {1:.1f} dB in"},
    {line_reason::span_withheld, waiting_for_readings, "the spans of the in-line amplifier lead to no setting: {3}"},
    {line_reason::gain_fits, at_rest, "the preamp's gain is set for the span of {0:.1f} dB that comes in"},
    {line_reason::managed_elsewhere, not_regulated, "in this mode the management software gives the span"},
    {line_reason::no_attenuator, not_regulated, "this model has no VOA on the line: the far end makes up for the span"},
    {line_reason::node_leaves_alone, not_regulated, "left alone: {3}{4}"},
});
// clang-format on

struct brief_row {
  line_reason reason;
  const char* text;  ///< with the places of a sentence
};

// clang-format off
constexpr auto briefs = std::to_array<brief_row>({
    {line_reason::voa_away, "the VOA is not up; look at voa_sfp"},
    {line_reason::no_light, "amplifiers off{4}; mend the fibre"},
    {line_reason::no_way_out, "amplifiers off{4}; mend the fibre that goes out"},
    {line_reason::link_down, "the peer cannot be read{4}; look at the supervisory optics"},
    {line_reason::link_one_way, "the far end does not hear this node{4}; look at the fibre that goes out"},
    {line_reason::nobody_answers, "nobody answers{4}; look at the far node"},
    {line_reason::peer_is_lost, "{3} is lost{4}; look at the far node"},
    {line_reason::product_not_known, "it calls itself {3}{4}"},
    {line_reason::no_sign_of_life, "nothing new for {0:.0f} s; look at the far node"},
    {line_reason::channels_stand_still, "no channel power there has changed for {0:.0f} s; look at the far node"},
    {line_reason::saturation_is_old, "no news of its preamp; look at the far node"},
    {line_reason::spans_missing, "the span is not known; look at the far node"},
    {line_reason::fully_open, "the VOA is fully open, the peer wants {1:+.2f} dB"},
    {line_reason::at_its_end, "the VOA is at its end, the peer wants {1:+.2f} dB"},
    {line_reason::saturation_moved, "it lacks {0:.1f} dB of its gain"},
    {line_reason::saturation_waits, "it lacks {0:.1f} dB of its gain"},
    {line_reason::saturation_unmoved, "it lacks {0:.1f} dB of its gain; look at it"},
});
// clang-format on

constexpr bool is_in_order() {
  std::size_t index = 0;
  return rows.size() == static_cast<std::size_t>(line_reason::count) &&
         std::all_of(rows.begin(), rows.end(), [&index](const row& entry) {
           return static_cast<std::size_t>(entry.reason) == index++;
         });
}
static_assert(is_in_order(), "rows are found by their reason");

const row& row_of(line_reason reason) {
  return rows[static_cast<std::size_t>(reason)];
}

}  // namespace

states::line_state state_of(line_reason reason) {
  return row_of(reason).state;
}

std::chrono::milliseconds silence_of(const line_verdict& verdict) {
  using enum line_reason;
  if (verdict.reason != no_sign_of_life && verdict.reason != channels_stand_still) return {};
  const std::chrono::duration<float> silence(verdict.figures[0]);
  return std::chrono::duration_cast<std::chrono::milliseconds>(silence);
}

std::string brief_of(const line_verdict& verdict) {
  const auto* found = std::ranges::find(briefs, verdict.reason, &brief_row::reason);
  if (found == briefs.end()) return sentence_of(verdict);
  std::string voa;
  if (verdict.attenuation) voa = fmt::format(", VOA at {:.1f} dB", *verdict.attenuation);
  if (verdict.preset)
    voa = fmt::format(", VOA at the board's preset of {:.1f} dB", *verdict.preset);
  return fmt::format(fmt::runtime(found->text), verdict.figures[0], verdict.figures[1],
                     verdict.figures[2], verdict.word, voa);
}

std::string sentence_of(const line_verdict& verdict) {
  const auto voa = verdict.attenuation
                       ? fmt::format(", and the VOA stays at {:.1f} dB", *verdict.attenuation)
                       : "";
  auto text = fmt::format(fmt::runtime(row_of(verdict.reason).sentence), verdict.figures[0],
                          verdict.figures[1], verdict.figures[2], verdict.word, voa);
  if (verdict.preset) {
    text += fmt::format(
        ". It has opened at the board's preset of {:.1f} dB, and moves once a peer has been read",
        *verdict.preset);
  }
  if (verdict.guard != nullptr) text += fmt::format(" (guard {})", verdict.guard);
  return text;
}

}  // namespace insight
