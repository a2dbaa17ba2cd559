// What a node remembers of the light path: the newest look at it, the usual differences between its
// instruments, and the fault found by several looks in a row. The usual difference is taken from
// the first minute in which it was steady, and kept until the process ends: any later change is a
// finding, at least until it has been steady for a day.
//
// Looks on the manager thread, reads on any; the lock is a leaf in the lock order.
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "base/insight/ladder.h"

namespace insight {

/// Becomes a number once the figure has been steady for a minute, and another one once it has been
/// steady elsewhere for a day.
class usual_value {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  /// `limit`: values beyond it cannot be usual, since something else says what to expect.
  void look(std::optional<float> now, time_point when, std::optional<float> limit);
  std::optional<float> get() const { return known_; }

 private:
  std::optional<float> known_;
  float lowest_ = 0;
  float highest_ = 0;
  double sum_ = 0;
  unsigned count_ = 0;
  time_point since_{};
};

class ladder_book {
 public:
  using time_point = std::chrono::steady_clock::time_point;

  explicit ladder_book(light_way way) : way_(way) {}

  void look(ladder_view view, time_point now);

  struct page {
    ladder_view view;
    differences now;
    differences usual;
    std::optional<ladder_finding> fault;  ///< as found by several looks
  };
  page open() const;
  light_way way() const { return way_; }

 private:
  struct usual_values {
    std::map<unsigned, usual_value> ports;
    usual_value amplifier;
    usual_value monitor;
    usual_value fibre;
    usual_value line;
    usual_value far;
  };

  void learn(const differences& now, time_point when);
  differences usual() const;
  void settle(std::optional<ladder_finding> found);

  const light_way way_;
  usual_values usual_;                       // used only by the manager thread
  std::optional<ladder_finding> candidate_;  // likewise
  unsigned agreeing_ = 0;
  mutable std::mutex mutex_;  // guards the page
  page page_;
};

/// The ladder as docs/insight.md describes it.
std::string ladder_json(const ladder_book::page& page, light_way way);
/// One sentence: what is wrong and where; empty if nothing is.
std::string ladder_sentence(const ladder_finding& fault, light_way way);

}  // namespace insight
