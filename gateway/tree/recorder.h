// The last ten minutes of the values that the page plots for each channel: power, target and
// attenuation. The daemon keeps 32 values per path, half a minute of a wavering power, and none of
// a value without subscribers. So the gateway listens from its start on, and a page opened after a
// fault shows what led to it. On the gateway's thread.
#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gateway/tree/tree_mirror.h"

namespace gateway {

class recorder : public mirror_watcher {
 public:
  static constexpr std::chrono::minutes span{10};
  /// Of two points closer than this the later one is kept, so a series has at most about 1,200.
  static constexpr std::chrono::milliseconds closest{500};

  struct point {
    std::chrono::system_clock::time_point at;
    std::optional<double> value;  ///< empty if there was no value
  };
  /// Oldest first. The first one may be older than the span: it is the value at its beginning.
  using series = std::deque<point>;

  recorder(std::shared_ptr<tree_mirror> mirror, const settings& bounds);
  ~recorder() override;

  /// Starts listening.
  void start();
  void stop();

  /// Empty for a path that is not recorded, or of which nothing has been heard.
  const series& of(const std::string& path) const;

 private:
  struct source {
    std::shared_ptr<topic> of;
    topic::number seen = 0;
  };

  void mirror_changed() override;
  void note(const std::string& path, std::optional<double> value);
  void note_loss();
  void forget_old();

  const std::shared_ptr<tree_mirror> mirror_;
  const settings& settings_;
  std::vector<source> sources_;
  std::map<std::string, series> series_;
  const series none_;
  unsigned link_changes_ = 0;
};

/// As JSON; null if there was no value.
std::string value_text(const recorder::point& of);

}  // namespace gateway
