#include "tools/lab/loop_report.h"

#include <fstream>
#include <string_view>

namespace tools::lab {

namespace {

/// The text of `line` from behind `before` up to `end`; empty when `before` is not there.
std::string between(const std::string& line, std::string_view before, std::string_view end) {
  const auto found = line.find(before);
  if (found == std::string::npos) return "";
  const auto begin = found + before.size();
  return line.substr(begin, line.find(end, begin) - begin);
}

}  // namespace

std::optional<loop_report> report_in(const std::string& line) {
  constexpr std::string_view running = "Manager operational, regulating: ";
  constexpr std::string_view failing = "Manager not fully operational, line ";
  if (line.find(running) != std::string::npos) {
    return loop_report{"ok", "ok", "ok", between(line, running, "\n")};
  }
  if (line.find(failing) == std::string::npos) return std::nullopt;
  return loop_report{between(line, failing, ","), between(line, ", rx ", ","),
                     between(line, ", tx ", "\n"), "-"};
}

const loop_report& log_follower::update() {
  std::ifstream log(path_);
  log.seekg(offset_);
  std::string line;
  // A line that is not ended yet is read again at the next look.
  while (std::getline(log, line) && !log.eof()) {
    offset_ += static_cast<long>(line.size()) + 1;
    if (auto report = report_in(line)) newest_ = std::move(*report);
  }
  return newest_;
}

}  // namespace tools::lab
