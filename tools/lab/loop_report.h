// What the daemon's log tells of its loops once a cycle: which of them run and which has the turn.
// The tree does not carry it.
#pragma once

#include <optional>
#include <string>

namespace tools::lab {

struct loop_report {
  std::string line = "?";
  std::string rx = "?";
  std::string tx = "?";    ///< "ok", "error", "?" before the first report
  std::string turn = "-";  ///< "client rx" or "line", "-" while a loop is down
};

/// The report of one log line, if it holds one.
std::optional<loop_report> report_in(const std::string& line);

/// Reads what is new in a growing log file.
class log_follower {
 public:
  explicit log_follower(std::string path) : path_(std::move(path)) {}
  /// The newest report so far.
  const loop_report& update();

 private:
  std::string path_;
  long offset_ = 0;
  loop_report newest_;
};

}  // namespace tools::lab
