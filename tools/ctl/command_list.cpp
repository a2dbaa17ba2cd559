// list, tree and info: what is on the tree.
#include <fmt/format.h>
#include <rapidjson/document.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "platform/wire/json_conversion.h"
#include "platform/wire/shown_text.h"
#include "tools/ctl/context.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/format.h"

namespace tools::ctl {

namespace {

/// "data/line/" and "/data/line" are typed as often as "data/line".
std::string trimmed(std::string path) {
  while (path.ends_with('/'))
    path.pop_back();
  return path.starts_with('/') ? path.substr(1) : path;
}

rows listed(context& with, const std::string& path, bool recursive) {
  const auto result = with.ask("list", path, recursive ? ",\"recursive\":true" : "");
  rows names;
  for (const auto& member : result.GetObject()) {
    for (const auto& name : member.value.GetArray())
      names.emplace_back(nx::shown_text(name.GetString()), "");
  }
  return names;
}

int list(context& with, const std::string& path, bool recursive) {
  if (with.json) {
    const auto more = recursive ? ",\"recursive\":true" : "";
    fmt::print("{}\n", nx::json_text(with.ask("list", path, more)));
    return exit_ok;
  }
  for (const auto& [name, none] : listed(with, path, recursive))
    fmt::print("{}\n", name);
  return exit_ok;
}

/// The paths below a level, as members without values.
nx::json_document without_values(context& with, const std::string& path) {
  nx::json_document members(rapidjson::kObjectType);
  for (const auto& [name, none] : listed(with, path, true)) {
    members.AddMember(nx::to_json(name, members.GetAllocator()), nx::json_value(),
                      members.GetAllocator());
  }
  return members;
}

int tree(context& with, const std::string& path, bool values) {
  if (with.json) {
    const auto below = path.empty() ? "**" : path + "/**";
    const auto members = values ? with.ask("get", below) : without_values(with, path);
    fmt::print("{}\n", nx::json_text(tree_object(members)));
    return exit_ok;
  }
  if (!values) {
    fmt::print("{}", tree_text(listed(with, path, true)));
    return exit_ok;
  }
  const auto pattern = path.empty() ? "**" : path + "/**";
  fmt::print("{}", tree_text(rows_of(with.ask("get", pattern), with.bare)));
  return exit_ok;
}

int info(context& with, const std::string& path) {
  auto result = with.ask("info", path);
  for (auto& member : result.GetObject())
    complete_info(member.name.GetString(), member.value, result.GetAllocator());
  if (with.json) {
    fmt::print("{}\n", nx::json_text(result));
    return exit_ok;
  }
  for (const auto& member : result.GetObject()) {
    fmt::print("{}\n", info_line(member.name.GetString(), member.value));
  }
  if (result.MemberCount() > 0) return exit_ok;
  fmt::print(stderr, "lumoractl: no path fits {}\n", path);
  return exit_no_match;
}

}  // namespace

void declare_list_commands(CLI::App& app, action& chosen) {
  auto path = std::make_shared<std::string>();
  auto deep = std::make_shared<bool>(false);
  auto* command = app.add_subcommand("list", "List the names below a level");
  command->add_option("path", *path, "Level; the root by default");
  command->add_flag("-r,--recursive", *deep, "Full paths of everything below it");
  command->footer("Examples:\n  lumoractl list data/client\n  lumoractl list -r | grep -i alarm\n");
  command->callback([&chosen, path, deep] {
    chosen = [=](context& with) { return list(with, trimmed(*path), *deep); };
  });

  command = app.add_subcommand("tree", "Draw everything below a level");
  command->add_option("path", *path, "Level; the root by default");
  command->add_flag("-v,--values", *deep, "Include the present values");
  command->footer("Examples:\n  lumoractl tree data/line -v\n  lumoractl tree --nexel booster\n");
  command->callback([&chosen, path, deep] {
    chosen = [=](context& with) { return tree(with, trimmed(*path), *deep); };
  });

  command = app.add_subcommand(
      "info", "Describe a path: kind, type, permitted operations, unit, accepted values");
  command->add_option("path", *path, "Path or pattern")->required();
  command->footer("Example:\n  lumoractl info 'config/client/*/rx/wantedPowerOffset'\n");
  command->callback(
      [&chosen, path] { chosen = [path](context& with) { return info(with, *path); }; });
}

}  // namespace tools::ctl
