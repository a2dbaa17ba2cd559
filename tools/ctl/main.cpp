// lumoractl: the command line of every value tree, the daemon's, its devices' and a peer's.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/nx_client_exception.h"
#include "platform/wire/shown_text.h"
#include "tools/ctl/context.h"
#include "tools/ctl/endpoint.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/typed_value.h"

namespace tools::ctl {

namespace {

constexpr const char* closing_words =
    "Start here:\n"
    "  lumoractl explain                          what is wrong, and why\n"
    "  lumoractl tree data/line -v                the line, with values\n"
    "  lumoractl get 'data/client/*/rx/power'     one value of every channel\n"
    "  lumoractl watch 'data/client/*/rx/status'  what happens to the channels\n"
    "  lumoractl get --help                       each command has examples\n"
    "\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  the tree refused; code and text are on standard error, with --json also as JSON on\n"
    "     standard output\n"
    "  2  wrong options or arguments\n"
    "  3  not connected\n"
    "  4  no answer in time\n"
    "  5  no path matches the pattern\n"
    "  6  explain: something needs a person\n";

struct options {
  connection_options connection;
  bool node = false;
  double timeout_seconds = 5.0;
  bool json = false;
  bool bare = false;
};

void declare_common(CLI::App& app, options& given) {
  auto& at = given.connection;
  constexpr const char* group = "Which tree (one of the first four)";
  app.add_flag("--node", given.node, "The daemon of this node (default)")->group(group);
  app.add_option("--socket", at.socket, "The tree at a unix socket")
      ->type_name("PATH")
      ->group(group);
  app.add_option("--nexel", at.nexel, "A device's service, /tmp/nexels/NAME")
      ->type_name("NAME")
      ->group(group);
  app.add_option("--host", at.host, "A peer, such as fe80::1%eth_sfp_1")
      ->type_name("HOST%IF")
      ->group(group);
  app.add_option("--port", at.port, "Port of the peer")->capture_default_str()->group(group);
  app.add_option("--root", at.root, "Folder prefixed to all socket paths (default: NX_ROOT)")
      ->type_name("DIR")
      ->group(group);
  app.add_flag("--json", given.json, "Print the tree's JSON, one line per answer or event");
  app.add_flag("--bare", given.bare, "Print values without paths and units");
  app.add_option("--timeout", given.timeout_seconds, "Seconds to wait for an answer")
      ->check(CLI::PositiveNumber)
      ->type_name("SECONDS")
      ->capture_default_str();
}

void declare(CLI::App& app, options& given, action& chosen) {
  app.name("lumoractl");
  app.set_version_flag("--version", LUMORA_VERSION, "Print the version and exit");
  app.footer(closing_words);
  app.require_subcommand(1);
  app.fallthrough();
  declare_common(app, given);
  declare_read_commands(app, chosen);
  declare_list_commands(app, chosen);
  declare_write_commands(app, chosen);
  declare_watch_command(app, chosen);
  declare_explain_commands(app, chosen);
  declare_file_commands(app, chosen);
}

constexpr std::int32_t wrong_words = nx_error::invalid;

/// With --json a failure is an answer too.
void print_json(const nx_error& error) {
  std::string object;
  nx::json_rpc::append_error_object(object, error);
  fmt::print("{{\"error\":{}}}\n", object);
  std::fflush(stdout);  // printed before the same in words
}

int fail(int code, const nx_error& error, bool json) {
  if (json) print_json(error);
  const auto number = code == exit_refused ? fmt::format("{} ", error.code) : std::string();
  fmt::print(stderr, "lumoractl: {}{}\n", number, nx::shown_text(error.message));
  return code;
}

void check_one_way(const options& given) {
  const auto& at = given.connection;
  const int ways = (given.node ? 1 : 0) + (at.socket.empty() ? 0 : 1) + (at.nexel.empty() ? 0 : 1) +
                   (at.host.empty() ? 0 : 1);
  if (ways > 1) throw usage_error("only one of --node, --socket, --nexel and --host can be given");
}

int perform(const options& given, const action& chosen) {
  check_one_way(given);
  const char* variable = std::getenv("NX_ROOT");
  const auto target = choose_endpoint(given.connection, variable == nullptr ? "" : variable);
  // The path now contains the folder, which must not be prefixed again.
  unsetenv("NX_ROOT");  // NOLINT(concurrency-mt-unsafe): no other thread yet
  const auto tree = connect(target);
  const std::chrono::duration<double> timeout(given.timeout_seconds);
  context with{*tree, given.json, given.bare,
               std::chrono::duration_cast<std::chrono::milliseconds>(timeout)};
  return chosen(with);
}

int perform_guarded(const options& given, const action& chosen) {
  try {
    return perform(given, chosen);
  } catch (const nx_client_exception& error) {
    const auto code = error.code == nx_error::not_connected ? exit_not_connected
                      : error.code == nx_error::no_answer   ? exit_no_answer
                                                            : exit_refused;
    return fail(code, {error.code, error.message}, given.json);
  } catch (const usage_error& error) {
    return fail(exit_usage, {wrong_words, error.what()}, given.json);
  }
}

/// Wrong options: the parser's own words, and the same as JSON if requested.
int refuse(const CLI::App& app, const CLI::ParseError& error, bool json) {
  if (app.exit(error) == 0) return exit_ok;
  if (json) print_json({wrong_words, error.what()});
  return exit_usage;
}

}  // namespace

}  // namespace tools::ctl

int main(int argc, char** argv) {
  CLI::App app("Reads, writes and watches value trees: the daemon, its devices, a peer.");
  tools::ctl::options given;
  tools::ctl::action chosen;
  tools::ctl::declare(app, given, chosen);
  // Searched for by hand, since the parser may fail at an earlier word.
  const bool json = std::count(argv, argv + argc, std::string_view("--json")) > 0;
  try {
    // The parser takes its words from the back.
    auto words = tools::ctl::shielded({argv + 1, argv + argc});
    std::reverse(words.begin(), words.end());
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    return tools::ctl::refuse(app, error, json);
  }
  return tools::ctl::perform_guarded(given, chosen);
}
