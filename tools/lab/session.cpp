#include "tools/lab/session.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/lab/lab_failure.h"
#include "tools/lab/screen.h"
#include "tools/lab/summary_text.h"

namespace tools::lab {

namespace {

constexpr std::chrono::milliseconds between_looks{500};
constexpr std::chrono::seconds line_interval{1};

/// A node that was started alone is not missing a peer, as long as its line is open.
void forget_missing_peer(view& seen) {
  constexpr double shut_db = 15.0;
  if (seen.voa_db.value_or(0.0) >= shut_db) return;
  std::erase_if(seen.findings, [](const auto& each) { return each.of == insight::cause::no_peer; });
}

}  // namespace

session::session(supervisor& programs, user& at_terminal, const std::vector<node*>& nodes,
                 const neighbour& peer)
    : programs_(programs),
      user_(at_terminal),
      expects_peer_(peer.what != neighbour::kind::none),
      start_(clock::now()) {
  for (auto* each : nodes) {
    nodes_.push_back({each, convergence(each->lasers(), expects_peer_)});
  }
}

view session::look(const watched_node& at) {
  programs_.check();
  auto seen = at.of->look();
  if (!expects_peer_) forget_missing_peer(seen);
  return seen;
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

void session::react(key pressed, const drawn_picture& drawn, picture_options& options) const {
  const auto go_to = [&](unsigned row) { options.first_row = std::min(row, drawn.last_first_row); };
  const auto turn_to = [&](page which) {
    options.shown = which;
    options.first_row = 0;
  };
  const auto first = std::min(options.first_row, drawn.last_first_row);
  const auto most = std::max(drawn.page_rows, 1U);
  switch (pressed) {
    case key::up:
      return go_to(first > 0 ? first - 1 : 0);
    case key::down:
      return go_to(first + 1);
    case key::page_up:
      return go_to(first > most ? first - most : 0);
    case key::page_down:
      return go_to(first + most);
    case key::home:
      return go_to(0);
    case key::end:
      return go_to(drawn.last_first_row);
    case key::channels:
      return turn_to(page::channels);
    case key::ladder:
      return turn_to(page::ladder);
    case key::devices:
      return turn_to(page::devices);
    case key::panel:
      return turn_to(page::panel);
    case key::events:
      return turn_to(page::events);
    default:
      return;
  }
}

void session::show_on_screen(const std::vector<elsewhere>& places) {
  screen terminal;
  user_.listen_to_keys();
  picture_options options;
  std::size_t shown = 0;
  auto seen = look(nodes_[shown]);
  auto next_look = clock::now() + between_looks;
  while (true) {
    options.product = nodes_[shown].of->product();
    options.command = places.at(shown).command;
    options.web = places.at(shown).web;
    options.node = nodes_.size() > 1 ? nodes_[shown].of->name() : "";
    options.running = std::chrono::duration_cast<std::chrono::seconds>(running());
    const auto drawn = picture(seen, options, terminal.size(), screen::look_of_environment());
    terminal.show(drawn.lines);
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(next_look - clock::now());
    const auto happened = user_.wait(rest);
    if (happened == user::event::quit) return;
    if (happened == user::event::key) react(user_.pressed(), drawn, options);
    const bool turns = happened == user::event::key && user_.pressed() == key::next_node;
    if (turns) shown = (shown + 1) % nodes_.size();
    if (!turns && clock::now() < next_look) continue;
    seen = look(nodes_[shown]);
    next_look = clock::now() + between_looks;
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
