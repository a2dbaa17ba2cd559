// get and history: present and former values.
#include <fmt/format.h>
#include <rapidjson/document.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <vector>

#include "platform/wire/shown_text.h"
#include "tools/common/value_text.h"
#include "tools/ctl/context.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/format.h"

namespace tools::ctl {

namespace {

int no_match(const std::string& pattern) {
  fmt::print(stderr, "lumoractl: no path fits {}\n", pattern);
  return exit_no_match;
}

/// A single path prints just its value; a pattern, or several paths, a table.
void print_values(const rows& table, bool values_only) {
  if (!values_only) {
    fmt::print("{}", columns(table));
    return;
  }
  for (const auto& [path, value] : table)
    fmt::print("{}\n", value);
}

int get(context& with, const std::vector<std::string>& paths) {
  int code = exit_ok;
  rows table;
  bool single = paths.size() == 1;
  for (const auto& path : paths) {
    const auto result = with.ask("get", path);
    if (result.MemberCount() == 0) code = no_match(path);
    single = single && result.HasMember(path.c_str());
    if (with.json) {
      fmt::print("{}\n", nx::json_text(result));
      continue;
    }
    const auto found = rows_of(result, with.bare);
    table.insert(table.end(), found.begin(), found.end());
  }
  print_values(table, single || with.bare);
  return code;
}

void print_history(const std::string& path, const nx::json_value& entries, const context& with) {
  for (const auto& entry : entries.GetArray()) {
    const auto text =
        value_text(path, entry["value"], with.bare ? detail::bare : detail::with_unit);
    fmt::print("{}  {}\n", nx::shown_text(entry["time"].GetString()), text);
  }
}

int history(context& with, const std::string& path) {
  const auto result = with.ask("history", path);
  if (with.json) {
    fmt::print("{}\n", nx::json_text(result));
    return exit_ok;
  }
  for (const auto& member : result.GetObject())
    print_history(path, member.value, with);
  return exit_ok;
}

}  // namespace

void declare_read_commands(CLI::App& app, action& chosen) {
  auto paths = std::make_shared<std::vector<std::string>>();
  auto* command = app.add_subcommand("get", "Read values");
  command->add_option("path", *paths, "Path or pattern; several are read one after the other")
      ->required();
  command->footer(
      "A single path prints its value alone; a pattern prints a table.\n"
      "Examples:\n"
      "  lumoractl get data/line/1/tx/power\n"
      "  lumoractl get 'data/client/*/rx/power'        * stands for one segment\n"
      "  lumoractl get 'data/line/**' --json           ** at the end for everything below\n"
      "  lumoractl get --bare data/system/utilization  only the number, for scripts\n"
      "  lumoractl get --nexel booster data/txPower    a device instead of the daemon\n");
  command->callback(
      [&chosen, paths] { chosen = [paths](context& with) { return get(with, *paths); }; });

  auto path = std::make_shared<std::string>();
  command = app.add_subcommand("history", "Print the last values of a path, oldest first");
  command->add_option("path", *path, "Path")->required();
  command->footer("Example:\n  lumoractl history data/client/19140000/rx/attenuation\n");
  command->callback(
      [&chosen, path] { chosen = [path](context& with) { return history(with, *path); }; });
}

}  // namespace tools::ctl
