#include "tools/lab/supervisor.h"

#include <fmt/format.h>

#include "tools/lab/lab_failure.h"

namespace tools::lab {

namespace {

using steady = std::chrono::steady_clock;

constexpr std::chrono::milliseconds between_looks{50};
constexpr std::chrono::seconds run_limit{10};
constexpr std::size_t last_words = 12;

std::string obituary(const child_process& program, const std::string& end) {
  auto words = program.last_complaint(last_words);
  const auto* what = words.empty() ? "the last lines of its log" : "its last error";
  if (words.empty()) words = program.last_lines(last_words);
  auto text = fmt::format("{} has ended with {}; {}:", program.name(), end, what);
  for (const auto& line : words)
    text += "\n    " + line;
  return text;
}

}  // namespace

supervisor::~supervisor() {
  while (!programs_.empty())
    programs_.pop_back();
}

child_process& supervisor::start(program what) {
  programs_.push_back(std::make_unique<child_process>(std::move(what)));
  return *programs_.back();
}

void supervisor::run(program what) {
  const auto name = what.name;
  child_process child(std::move(what));
  wait_until(name, run_limit, [&child] { return child.ended().has_value(); });
  if (!child.succeeded()) throw lab_failure(obituary(child, *child.ended()));
}

void supervisor::check() {
  for (const auto& program : programs_) {
    if (const auto end = program->ended()) throw lab_failure(obituary(*program, *end));
  }
}

void supervisor::wait_until(const std::string& what, std::chrono::seconds limit,
                            const std::function<bool()>& condition) {
  const auto end = steady::now() + limit;
  while (!condition()) {
    check();
    if (steady::now() >= end) {
      throw lab_failure(fmt::format("waited {} s for {} without success", limit.count(), what));
    }
    if (user_.wait(between_looks) == user::event::quit) throw interrupted{};
  }
}

}  // namespace tools::lab
