// The terminal while the lab shows itself there: alternate screen, no echo, and everything as it
// was before when it ends.
#pragma once

#include <termios.h>

#include <string>
#include <vector>

#include "tools/lab/screen_text.h"

namespace tools::lab {

class screen {
 public:
  screen();
  ~screen();
  screen(const screen&) = delete;
  screen& operator=(const screen&) = delete;

  /// Both ends are a terminal that understands cursor movement.
  static bool available();
  static look look_of_environment();  ///< NO_COLOR, and whether the locale speaks UTF-8

  screen_size size() const;
  void show(const std::vector<std::string>& lines);

 private:
  termios before_{};
};

}  // namespace tools::lab
