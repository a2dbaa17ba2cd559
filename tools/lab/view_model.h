// From readings to what a user sees: what the daemon reports about itself, and for each channel
// what the plant knows to be true. Pure: values in, rows out.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/common/readings.h"
#include "tools/insight/findings.h"
#include "tools/insight/node_insight.h"
#include "tools/lab/panel.h"

namespace tools::lab {

struct channel_row {
  insight::channel of;
  std::optional<double> truth;  ///< true power at the booster's output, dBm; only for rx

  /// There is light to regulate.
  bool is_lit() const;
  /// Or so close that only the daemon's own, narrower dead band still requires a step.
  bool is_on_target() const;
  states::severity severity() const;
};

inline constexpr const char* no_peer = "none";

struct view {
  insight::node_insight node;
  std::vector<insight::finding> findings;  ///< what is wrong, causes first
  std::vector<channel_row> channels;       ///< of the rx direction, in order of ascending frequency
  panel lights;
  std::string peer = no_peer;
  std::optional<double> booster_dbm, voa_db;  ///< output of all channels; attenuation of the line
  std::optional<double> lms_step_db;          ///< the line's next step
  bool answers = true;                        ///< the daemon answered at this look
};

// Prefix for the paths of another tree among the readings.
inline constexpr const char* panel_prefix = "panel:";

/// The plant's path of a channel's true power at the booster's output; `key` is the centre
/// frequency in units of 10 MHz.
std::string truth_path(unsigned node, const std::string& key);

view make_view(const readings& read, std::vector<insight::event> events, unsigned node = 0,
               std::optional<long> now = {});

/// Channels off target first, the worst on top; the rest by frequency. Directions that are not
/// regulated are left out.
std::vector<channel_row> rows_by_need(const view& seen);

struct tally {
  unsigned lit = 0;
  unsigned on_target = 0;
};
tally count(const view& seen);

}  // namespace tools::lab
