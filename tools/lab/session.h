// One run of the lab, from the first look to the last word: on a screen, as lines, or until the
// channels of every node have converged.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "tools/lab/convergence.h"
#include "tools/lab/neighbour.h"
#include "tools/lab/node.h"
#include "tools/lab/screen_text.h"
#include "tools/lab/supervisor.h"
#include "tools/lab/user.h"
#include "tools/lab/view_model.h"

namespace tools::lab {

class session {
 public:
  session(supervisor& programs, user& at_terminal, const std::vector<node*>& nodes,
          const neighbour& peer);

  /// Where else to look at a node: a command, which is the screen's last line, and a web page.
  struct elsewhere {
    std::string command;
    std::string web;
  };
  /// Until the user quits; `places` has one for each node. Throws lab_failure if a program ends.
  void show_on_screen(const std::vector<elsewhere>& places);
  /// One line per node and second, until the user quits.
  void print_lines();
  /// The same; true as soon as all is well and has stayed so, false when `limit` is over.
  bool print_until_converged(std::chrono::seconds limit);

 private:
  using clock = std::chrono::steady_clock;

  struct watched_node {
    node* of;
    convergence verdict;
  };

  view look(const watched_node& at);
  void print(const watched_node& at, const std::string& text) const;
  std::chrono::milliseconds running() const;
  /// False if the user quits before the time is over.
  bool pause(clock::time_point until);
  void react(key pressed, const drawn_picture& drawn, picture_options& options) const;

  supervisor& programs_;
  user& user_;
  bool expects_peer_;
  std::vector<watched_node> nodes_;
  clock::time_point start_;
};

}  // namespace tools::lab
