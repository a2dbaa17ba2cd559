// One run of the lab, from the first look to the last word: on a screen, as lines, or until the
// channels have converged.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "tools/lab/loop_report.h"
#include "tools/lab/node.h"
#include "tools/lab/product.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/user.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

class session {
 public:
  session(supervisor& programs, user& at_terminal, node& shown, const product& model);

  /// Until the user quits, with `note` in the last line. Throws lab_failure when a program ends.
  void show_on_screen(const std::string& note);
  /// One line a second, until the user quits.
  void print_lines();
  /// One line a second; true as soon as all is well and has stayed so, false when `limit` is over.
  bool print_until_converged(unsigned lit, std::chrono::seconds limit);

 private:
  using clock = std::chrono::steady_clock;

  view look();
  std::chrono::milliseconds running() const;
  /// False when the user quits before the time is over.
  bool pause(clock::time_point until);

  supervisor& programs_;
  user& user_;
  node& node_;
  const product& model_;
  log_follower log_;
  clock::time_point start_;
};

}  // namespace tools::lab
