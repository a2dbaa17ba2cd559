#include "tools/lab/screen.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "tools/lab/screen_cells.h"

namespace tools::lab {

namespace {

constexpr const char* enter = "\x1b[?1049h\x1b[?25l\x1b[2J";  // alternate screen, no cursor, empty
constexpr const char* leave = "\x1b[?25h\x1b[?1049l";
constexpr const char* empty = "\x1b[2J";

std::string_view variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string_view{} : std::string_view{value};
}

void put(const std::string& text) {
  fmt::print("{}", text);
  std::fflush(stdout);
}

}  // namespace

screen::screen() {
  tcgetattr(STDIN_FILENO, &before_);
  termios raw = before_;
  raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  tcsetattr(STDIN_FILENO, TCSANOW, &raw);
  put(enter);
}

screen::~screen() {
  put(leave);
  tcsetattr(STDIN_FILENO, TCSANOW, &before_);
}

bool screen::available() {
  const auto terminal = variable("TERM");
  return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0 && !terminal.empty() &&
         terminal != "dumb";
}

look screen::look_of_environment() {
  std::string_view locale;
  for (const char* name : {"LANG", "LC_CTYPE", "LC_ALL"}) {
    if (const auto stronger = variable(name); !stronger.empty()) locale = stronger;
  }
  return look_of(variable("TERM"), locale, variable("NO_COLOR").empty());
}

screen_size screen::size() const {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return {};
  return {size.ws_col, size.ws_row};
}

void screen::show(const std::vector<std::string>& lines) {
  const auto now = size();
  std::string frame;
  if (now.columns != shown_size_.columns || now.rows != shown_size_.rows) {
    frame = empty;
    shown_.clear();
    shown_size_ = now;
  }
  const std::string blank;
  for (std::size_t at = 0; at < std::max(lines.size(), shown_.size()); ++at) {
    frame += changed_cells(at < shown_.size() ? shown_[at] : blank,
                           at < lines.size() ? lines[at] : blank, static_cast<unsigned>(at + 1));
  }
  shown_ = lines;
  if (!frame.empty()) put(frame);
}

}  // namespace tools::lab
