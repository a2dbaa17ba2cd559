// What the gateway itself counts while a collector reads it, since the tree tells only the present:
// the seconds of each cycle, and the steps of each attenuator. All of it begins at 0 with the
// connection to a daemon, so that a restart of either is a reset. On the gateway's thread.
#pragma once

#include <prometheus/histogram.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "gateway/metrics/family_set.h"
#include "platform/wire/json.h"

namespace gateway {

class running_counts {
 public:
  running_counts() { clear(); }
  void clear();

  /// insight/cycle; the same cycle told twice counts once.
  void cycle(const nx::json_value& told);
  /// A `.../stepsLastHour`: what it grew by since it was told last. It sinks as steps grow old.
  void steps(const std::string& path, unsigned in_last_hour);

  /// `values` is for the labels of channels.
  void add_to(family_set& into, const nx::json_value& values) const;

 private:
  struct count {
    unsigned last = 0;
    double total = 0;
  };

  std::unique_ptr<prometheus::Histogram> cycle_seconds_;
  double last_cycle_ = 0;
  bool cycle_seen_ = false;
  std::map<std::string, count> steps_;
};

}  // namespace gateway
