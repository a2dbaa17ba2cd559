// What is known of one channel in one direction, from the loop's verdicts: the last one, the way to
// its target, the steps of its attenuator. Source of the nodes under
// "insight/client/ID/DIRECTION/".
//
// The loop's thread looks, with the plan's mutex held. Readers take this object's own mutex, which
// is held only for copies and never with another: reading never waits for a device. Getters
// return nx_error -61 with a reason if a figure has no meaning at present.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "api/reading.h"
#include "base/insight/actuator_record.h"
#include "base/insight/channel_text.h"
#include "base/insight/channel_verdict.h"
#include "base/insight/channel_way.h"
#include "base/insight/rest_level.h"
#include "platform/wire/json.h"

class nx_db;
namespace nx::api {
class lazy_node;
}

namespace insight {

class channel_record : public std::enable_shared_from_this<channel_record> {
 public:
  channel_record() = default;
  channel_record(const channel_record&) = delete;
  channel_record& operator=(const channel_record&) = delete;

  /// Puts the nodes on the tree. `id` is the channel's name in paths, `frequency` in units of 10
  /// MHz.
  void setup_api(nx_db& db, unsigned id, unsigned frequency, const std::string& direction);
  /// Removes them again: the channel is no longer in the plan.
  void remove_api();

  // On the loop's thread.
  /// The channel was added by a command.
  void added();
  channel_way::news look(const channel_verdict& verdict);
  /// Something happened that may cause steps of this channel.
  void event();
  void felt(const neighbour& other);
  /// Subscribers get what has changed; all figures together if one of them is worth an event, which
  /// is then returned. `is_new_minute`: the counts of the last hour may have changed too.
  bool refresh(bool is_new_minute);

  struct view {
    channel_verdict verdict;
    channel_way ways;
    actuator_record actuator;
  };
  view snapshot() const;
  unsigned id() const { return id_; }
  unsigned frequency() const { return frequency_; }
  bool is_rx() const { return is_rx_; }

  std::string get_state();
  std::string get_why();
  nx::api::reading<float> get_target();
  nx::api::reading<float> get_measured();
  nx::api::reading<float> get_error();
  nx::api::reading<float> get_dead_band();
  nx::api::reading<float> get_headroom_up();
  nx::api::reading<float> get_headroom_down();
  nx::api::reading<float> get_age();
  unsigned get_steps();
  unsigned get_steps_last_hour();
  /// {"cause", "begin", "underWay", "seconds", "steps", "largestStep", "largestExcursion",
  /// "neighbour": {"channel", "moved"} or null, "waitsFor" while under way}
  nx::api::reading<nx::json_document> get_arrival();

 private:
  friend class channel_board;

  /// The figures last sent to subscribers.
  struct told_figures {
    channel_verdict verdict;
    std::optional<time_point> last_step{};
    float neighbour_moved = 0;
  };

  bool take_news();
  template <float channel_verdict::*Figure>
  nx::api::reading<float> figure();
  channel_history history(const view& of) const;
  std::string path(const char* name) const;

  // Set by setup_api, before the channel is in a board.
  unsigned id_ = 0;
  unsigned frequency_ = 0;
  bool is_rx_ = true;
  std::vector<std::shared_ptr<nx::api::lazy_node>> counts_;  // sent at every change
  std::vector<std::shared_ptr<nx::api::lazy_node>> nodes_;

  // What the board remembers between two walks; under the plan's mutex.
  float error_ = no_figure;
  rest_level level_;         ///< where it was when no channel of the board was under way
  float moved_ = no_figure;  ///< from there, in this walk
  bool is_settled_ = false;
  bool is_under_way_ = false;
  bool took_part_ = false;  ///< was under way in this walk

  mutable std::mutex mutex_;  // guards the view
  view view_;
  told_figures told_;
};

}  // namespace insight
