#include "tools/lab/session.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/lab/lab_failure.h"
#include "tools/lab/screen.h"
#include "tools/lab/summary_text.h"

namespace tools::lab {

namespace {

constexpr std::chrono::milliseconds frame{250};
constexpr std::chrono::seconds line_interval{1};

}  // namespace

session::session(supervisor& programs, user& at_terminal, const std::vector<node*>& nodes,
                 const neighbour& peer)
    : programs_(programs), user_(at_terminal), start_(clock::now()) {
  const bool face_to_face = peer.what != neighbour::kind::none;
  for (auto* each : nodes) {
    nodes_.push_back(
        {each, log_follower(each->daemon_log()), convergence(each->lasers(), face_to_face)});
  }
}

view session::look(watched_node& at) {
  programs_.check();
  return make_view(at.of->look(), models::get(at.of->product()), at.log.update(), at.of->number());
}

void session::print(const watched_node& at, const std::string& text) const {
  const auto name = nodes_.size() > 1 ? fmt::format("{:<5}", at.of->name()) : std::string();
  fmt::print("{}{}\n", name, text);
  std::fflush(stdout);
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
  picture_options options{"", {}, 0, note, {}};
  std::size_t shown = 0;
  for (auto happened = user::event::none; happened != user::event::quit;) {
    if (happened == user::event::next) shown = (shown + 1) % nodes_.size();
    const auto seen = look(nodes_[shown]);
    options.product = nodes_[shown].of->product();
    const auto size = terminal.size();
    if (happened == user::event::down) ++options.first_row;
    if (happened == user::event::up && options.first_row > 0) --options.first_row;
    options.first_row = std::min(options.first_row, last_first_row(seen, size));
    options.running = std::chrono::duration_cast<std::chrono::seconds>(running());
    options.node = nodes_.size() > 1 ? nodes_[shown].of->name() : "";
    terminal.show(picture(seen, options, size, screen::look_of_environment()));
    happened = user_.wait(frame);
  }
}

void session::print_lines() {
  for (auto next = start_;; next += line_interval) {
    if (!pause(next)) return;
    for (auto& each : nodes_)
      print(each, status_line(look(each), running()));
  }
}

bool session::print_until_converged(std::chrono::seconds limit) {
  for (auto next = start_;; next += line_interval) {
    if (!pause(next)) throw interrupted{};
    bool converged = true;
    std::vector<view> seen;
    for (auto& each : nodes_) {
      seen.push_back(look(each));
      print(each, status_line(seen.back(), running()));
      converged = each.verdict.update(seen.back(), clock::now()) && converged;
    }
    if (!converged && clock::now() - start_ < limit) continue;
    for (std::size_t at = 0; at < nodes_.size(); ++at) {
      print(nodes_[at], verdict_text(seen[at], nodes_[at].verdict, converged, running()));
    }
    return converged;
  }
}

}  // namespace tools::lab
