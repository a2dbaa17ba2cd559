// watch: the changes of values as they come.
#include <fmt/format.h>
#include <rapidjson/document.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <vector>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/json_conversion.h"
#include "tools/ctl/context.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/format.h"

namespace tools::ctl {

namespace {

using steady = std::chrono::steady_clock;

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set in a signal handler");

// How long a signal may go unnoticed.
constexpr std::chrono::milliseconds glance{200};

struct watch_options {
  std::vector<std::string> paths;
  unsigned count = 0;    ///< 0: no limit
  double seconds = 0.0;  ///< 0: no limit
};

void end_on_interrupt() {
  for (const int signal : {SIGINT, SIGTERM}) {
    std::signal(signal, [](int) { interrupted = true; });
  }
}

void subscribe(context& with, const std::vector<std::string>& paths) {
  for (const auto& path : paths) {
    const auto result = with.ask("subscribe", path);
    if (result.MemberCount() > 0) continue;
    fmt::print(stderr, "lumoractl: no path fits {} yet, waiting for one\n", path);
  }
}

void print_event(const context& with, const nx::json_value& message) {
  const auto* params = with.json ? nx::member_of(message, "params") : nullptr;
  fmt::print("{}\n", params ? nx::json_text(*params) : event_line(message));
  std::fflush(stdout);
}

int watch(context& with, const watch_options& options) {
  end_on_interrupt();
  subscribe(with, options.paths);
  const auto end = steady::now() + std::chrono::duration<double>(options.seconds);
  unsigned printed = 0;
  while (!interrupted) {
    if (options.seconds > 0.0 && steady::now() >= end) break;
    const auto message = with.tree.next_event(glance);
    if (!message) continue;
    print_event(with, *message);
    if (++printed == options.count) break;
  }
  return exit_ok;
}

}  // namespace

void declare_watch_command(CLI::App& app, action& chosen) {
  auto options = std::make_shared<watch_options>();
  auto* command = app.add_subcommand("watch", "Print changes as they come, present values first");
  command->add_option("path", options->paths, "Paths or patterns")->required();
  command->add_option("--count", options->count, "End after so many lines");
  command->add_option("--for", options->seconds, "End after so many seconds");
  command->footer(
      "Ends with Ctrl-C. A line is time (UTC), path and value.\n"
      "Examples:\n"
      "  lumoractl watch 'data/client/*/rx/attenuation'\n"
      "  lumoractl watch 'alarms/**' --for 60\n"
      "  lumoractl watch data/configStatus --count 1 --json\n");
  command->callback(
      [&chosen, options] { chosen = [options](context& with) { return watch(with, *options); }; });
}

}  // namespace tools::ctl
