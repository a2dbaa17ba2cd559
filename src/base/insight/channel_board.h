// All channels of one direction as insight sees them. It takes the loop's verdicts, finds out how
// channels affected each other, reports to the event log, and informs subscribers after each walk.
// It exists alongside the plan.
//
// Adding, removing, looking and finishing require the plan's mutex; `records` is for any thread.
#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "base/insight/channel_record.h"

namespace insight {

class channel_board {
 public:
  using record_ptr = std::shared_ptr<channel_record>;

  explicit channel_board(std::string direction) : direction_(std::move(direction)) {}

  /// Replaces one with the same frequency.
  void enter(record_ptr record);
  /// A command has added the channel to those that the plan had at the start.
  void added(unsigned frequency);
  /// Removes the record and its nodes.
  void remove(unsigned frequency);
  /// Removes all others than these: the plan has been loaded again.
  void keep(const std::set<unsigned>& frequencies);

  /// The walk's result for one channel.
  void look(channel_record& record, const channel_verdict& verdict);
  /// The walk is complete.
  void finish();

  /// In order of ascending frequency.
  std::vector<record_ptr> records() const;
  const std::string& direction() const { return direction_; }
  /// Another one than before when a channel has news, and once a minute.
  unsigned news() const { return news_.load(std::memory_order_relaxed); }

 private:
  struct largest_moves {
    const channel_record* most = nullptr;
    const channel_record* second = nullptr;
  };

  void tell(const channel_record& of, const channel_verdict& verdict,
            const channel_way::news& news) const;
  largest_moves moves() const;
  void let_feel();
  void note_rest();
  void tell_news();

  const std::string direction_;
  bool had_event_ = false;      // in this walk, a change that other channels respond to as well
  bool any_under_way_ = false;  // when this walk began, or since
  std::chrono::minutes minute_{0};
  std::atomic<unsigned> news_{0};
  mutable std::mutex mutex_;  // guards the map against readers; held only for copies
  std::map<unsigned, record_ptr> records_;
};

}  // namespace insight
