#include "base/insight/stall_watch.h"

#include "base/insight/event_log.h"
#include "platform/value_tree/event_frame.h"

namespace insight {

namespace {

using states::line_state;

constexpr const char* subject = "line";

/// The state, if this watch reports it.
std::optional<line_state> stall_in(const line_verdict& verdict) {
  const auto state = state_of(verdict.reason);
  const bool has_own_event = state == line_state::no_fibre || state == line_state::device_failed ||
                             verdict.reason == line_reason::peer_is_lost;
  if (has_own_event || states::row_of(state).how != states::severity::person) return std::nullopt;
  return state;
}

bool goes_on(const line_verdict& verdict) {
  const auto how = states::row_of(state_of(verdict.reason)).how;
  return how == states::severity::good || how == states::severity::quiet;
}

}  // namespace

void stall_watch::begin(const line_verdict& verdict, time_point now) {
  const auto state = state_of(verdict.reason);
  const auto kind = state == line_state::exhausted ? event_kind::exhausted : event_kind::stalled;
  event_log::instance().tell(kind, subject,
                             {{"state", states::row_of(state).text},
                              {"reason", sentence_of(verdict)},
                              {"since", nx::event_time(verdict.since)}});
  told_ = state;
  told_at_ = next_since_;
  seen_ = now;
}

void stall_watch::end(time_point now) {
  event_log::instance().tell(event_kind::resumed, subject,
                             {{"state", states::row_of(*told_).text},
                              {"seconds", std::chrono::duration<double>(now - told_at_).count()}});
  told_.reset();
}

void stall_watch::look(const line_verdict& verdict, time_point now) {
  const auto state = stall_in(verdict);
  if (state != next_) {
    next_ = state;
    next_since_ = now;
  }
  if (told_ && state == told_) seen_ = now;
  const bool stands = next_ && now - next_since_ >= patience;
  const bool is_over = goes_on(verdict) || now - seen_ > pause || (stands && next_ != told_);
  if (told_ && is_over) end(now);
  if (!told_ && stands) begin(verdict, now);
}

}  // namespace insight
