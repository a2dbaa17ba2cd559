#include "tools/lab/session.h"

#include <fmt/format.h>

#include "tools/lab/convergence.h"
#include "tools/lab/lab_failure.h"
#include "tools/lab/screen.h"
#include "tools/lab/summary_text.h"

namespace tools::lab {

namespace {

constexpr std::chrono::milliseconds frame{250};
constexpr std::chrono::seconds line_interval{1};

void print_line(const std::string& line) {
  fmt::print("{}\n", line);
  std::fflush(stdout);
}

}  // namespace

session::session(supervisor& programs, user& at_terminal, node& shown, const product& model)
    : programs_(programs),
      user_(at_terminal),
      node_(shown),
      model_(model),
      log_(shown.daemon_log()),
      start_(clock::now()) {}

view session::look() {
  programs_.check();
  return make_view(node_.look(), model_, log_.update());
}

std::chrono::milliseconds session::running() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - start_);
}

bool session::pause(clock::time_point until) {
  while (clock::now() < until) {
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(until - clock::now());
    if (user_.wait(rest) == user::event::quit) return false;
  }
  return true;
}

void session::show_on_screen(const std::string& note) {
  screen terminal;
  user_.listen_to_keys();
  picture_options options{model_.name, {}, 0, note};
  for (auto happened = user::event::none; happened != user::event::quit;) {
    const auto seen = look();
    const auto size = terminal.size();
    if (happened == user::event::down) ++options.first_row;
    if (happened == user::event::up && options.first_row > 0) --options.first_row;
    options.first_row = std::min(options.first_row, last_first_row(seen, size));
    options.running = std::chrono::duration_cast<std::chrono::seconds>(running());
    terminal.show(picture(seen, options, size, screen::look_of_environment()));
    happened = user_.wait(frame);
  }
}

void session::print_lines() {
  for (auto next = start_;; next += line_interval) {
    if (!pause(next)) return;
    print_line(status_line(look(), running()));
  }
}

bool session::print_until_converged(unsigned lit, std::chrono::seconds limit) {
  convergence verdict(lit);
  for (auto next = start_;; next += line_interval) {
    if (!pause(next)) throw interrupted{};
    const auto seen = look();
    print_line(status_line(seen, running()));
    const bool converged = verdict.update(seen, clock::now());
    if (!converged && clock::now() - start_ < limit) continue;
    print_line(verdict_text(seen, verdict, converged, running()));
    return converged;
  }
}

}  // namespace tools::lab
