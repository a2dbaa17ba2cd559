// A channel's way to its target: what started it, when the channel arrived, in how many steps, how
// far it overshot, and the effect on its neighbours. A pure value: the verdicts of the loop's looks
// are passed in, in order. dB and s; written by the loop's thread, and an owner that shares it
// locks it.
#pragma once

#include <chrono>
#include <optional>

#include "base/insight/channel_verdict.h"

namespace insight {

enum class way_cause : unsigned char { lit, added, unblocked, target, disturbed };
const char* name_of(way_cause cause);

/// The change of another channel's light.
struct neighbour {
  unsigned id = 0;  ///< its name in paths
  float moved = 0;  ///< signed
};

struct way {
  way_cause cause = way_cause::lit;
  time_point begin{};
  std::optional<time_point> arrived{};  ///< empty: under way
  unsigned steps = 0;
  float largest_step = 0;  ///< signed
  float from = no_figure;  ///< initial error
  float beyond = 0;        ///< largest excursion beyond the target
  std::optional<neighbour> felt_most{};

  float seconds(time_point now) const;
};

class channel_way {
 public:
  /// What a look has changed.
  struct news {
    bool came_on = false;
    bool went_dark = false;
    bool set_out = false;
    bool arrived = false;
    bool exhausted = false;
    /// An external cause of this channel's next steps.
    bool is_event() const { return came_on || went_dark || is_disturbed || set_out_by_wish; }
    bool is_disturbed = false;     ///< by 2 dB or more from one reading to the next
    bool set_out_by_wish = false;  ///< by the operator: target, unblock
  };

  /// The channel was added by a command: its first light is because of that.
  void added() { is_new_ = true; }
  news look(const channel_verdict& now);
  /// Change of another channel, while under way and in the look in which it arrived.
  void felt(const neighbour& other);

  bool is_under_way() const { return present_.has_value(); }
  /// The present way, or the last one completed; empty before the first.
  std::optional<way> last() const { return present_ ? present_ : finished_; }
  /// It has arrived and nothing has started it since: if it moves now, others are the cause.
  bool is_at_rest() const { return at_rest_; }

 private:
  void note_light(const channel_verdict& now, news& told);
  void set_out(way_cause cause, const channel_verdict& now);
  bool is_target_moved(const channel_verdict& now) const;
  std::optional<way_cause> cause_of(const channel_verdict& now) const;
  void follow(const channel_verdict& now);
  void note_jump(const channel_verdict& now, news& told);
  void note_exhaustion(const channel_verdict& now, news& told);

  std::optional<way> present_;   // the present way
  std::optional<way> finished_;  // the last one completed
  bool is_new_ = false;
  bool was_lit_ = false;
  bool is_blocked_ = false;
  std::optional<time_point> unblocked_at_;  // its light is awaited
  bool at_rest_ = false;
  bool is_exhausted_ = false;
  float wish_ = no_figure;
  float fibre_km_ = no_figure;  // with which it was calculated
  float light_ = no_figure;     // reading with the attenuation taken out: the incoming power
};

}  // namespace insight
