// The terminal while the lab's screen is shown: alternate screen, no echo. Everything is restored
// when it ends.
#pragma once

#include <termios.h>

#include <string>
#include <vector>

#include "tools/lab/text_layout.h"

namespace tools::lab {

class screen {
 public:
  screen();
  ~screen();
  screen(const screen&) = delete;
  screen& operator=(const screen&) = delete;

  /// Both ends are a terminal that supports cursor movement.
  static bool available();
  static look look_of_environment();  ///< NO_COLOR, the locale, TERM

  screen_size size() const;
  /// Sends the cells that differ from those shown before.
  void show(const std::vector<std::string>& lines);

 private:
  termios before_{};
  std::vector<std::string> shown_;
  screen_size shown_size_{0, 0};
};

}  // namespace tools::lab
