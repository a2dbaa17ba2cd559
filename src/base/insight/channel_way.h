// A channel's ways to its target: what set it going, when it arrived, in how many steps, how far
// beyond it went, and what its neighbours felt of it. A pure value: the verdicts of the loop's
// looks are handed in, in their order. dB and s; the loop's thread writes it, whoever shares it
// locks.
#pragma once

#include <chrono>
#include <optional>

#include "base/insight/channel_verdict.h"

namespace insight {

enum class way_cause : unsigned char { lit, added, unblocked, target, disturbed };
const char* name_of(way_cause cause);

/// The change of another channel's light.
struct neighbour {
  unsigned id = 0;  ///< as paths name it
  float moved = 0;  ///< signed
};

struct way {
  way_cause cause = way_cause::lit;
  time_point begin{};
  std::optional<time_point> arrived{};  ///< empty: under way
  unsigned steps = 0;
  float largest_step = 0;  ///< signed
  float from = no_figure;  ///< error that it began with
  float beyond = 0;        ///< largest excursion to the other side of the target
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
    /// Something from outside that this channel's next steps answer.
    bool is_event() const { return came_on || went_dark || is_disturbed || set_out_by_wish; }
    bool is_disturbed = false;     ///< by 2 dB or more from one reading to the next
    bool set_out_by_wish = false;  ///< of the operator: target, unblock
  };

  /// The channel was added by a command: its first light is for that.
  void added() { is_new_ = true; }
  news look(const channel_verdict& now);
  /// Of another channel, while under way and in the look that it arrived in.
  void felt(const neighbour& other);

  bool is_under_way() const { return present_.has_value(); }
  /// The way that it is on, or the last that it went to its end; empty before the first.
  std::optional<way> last() const { return present_ ? present_ : finished_; }
  /// Arrived, and not set going since: what moves it now comes from others.
  bool is_at_rest() const { return at_rest_; }

 private:
  void note_light(const channel_verdict& now, news& told);
  void set_out(way_cause cause, const channel_verdict& now);
  std::optional<way_cause> cause_of(const channel_verdict& now) const;
  void follow(const channel_verdict& now);
  void note_jump(const channel_verdict& now, news& told);
  void note_exhaustion(const channel_verdict& now, news& told);

  std::optional<way> present_;   // the way that it is on
  std::optional<way> finished_;  // the last that came to its end
  bool is_new_ = false;
  bool was_lit_ = false;
  bool is_blocked_ = false;
  std::optional<time_point> unblocked_at_;  // its light is awaited
  bool at_rest_ = false;
  bool is_exhausted_ = false;
  float wish_ = no_figure;
  float light_ = no_figure;  // reading with the attenuation taken out: what comes in
};

}  // namespace insight
