// set, run and reset: commands that change something.
#include <fmt/format.h>
#include <rapidjson/document.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <vector>

#include "platform/wire/json_conversion.h"
#include "tools/common/value_text.h"
#include "tools/ctl/context.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/typed_value.h"

namespace tools::ctl {

namespace {

/// The type that the path accepts, from its own record; empty if the record does not say.
std::string value_type_of(context& with, const std::string& path) {
  const auto records = with.ask("info", path);
  const auto* record = nx::member_of(records, path.c_str());
  return record ? nx::text_member(*record, "valueType") : "";
}

/// A plain write has no answer and prints nothing; a command prints its answer, and false means
/// refused.
int print_answer(const context& with, const std::string& path, const nx::json_value& result) {
  if (with.json) fmt::print("{}\n", nx::json_text(result));
  const auto* answer = nx::member_of(result, path.c_str());
  if (!answer) return exit_ok;
  if (!with.json) fmt::print("{}\n", value_text(path, *answer, detail::bare));
  return answer->IsFalse() ? exit_refused : exit_ok;
}

int set(context& with, const std::string& path, const std::string& word) {
  const auto value = typed_value(word, value_type_of(with, path));
  return print_answer(with, path, with.ask("set", path, ",\"value\":" + value));
}

int run(context& with, const std::string& path, const std::vector<std::string>& words) {
  const auto result = with.ask("run", path, ",\"args\":" + command_arguments(words));
  return print_answer(with, path, result);
}

int reset(context& with, const std::string& path) {
  return print_answer(with, path, with.ask("reset", path));
}

}  // namespace

void declare_write_commands(CLI::App& app, action& chosen) {
  auto path = std::make_shared<std::string>();
  auto words = std::make_shared<std::vector<std::string>>();
  auto word = std::make_shared<std::string>();
  auto* command = app.add_subcommand("set", "Write a value");
  command->add_option("path", *path, "Path")->required();
  command->add_option("value", *word, "JSON, or a bare word of the path's type")->required();
  command->footer(
      "Examples:\n"
      "  lumoractl set config/redisConfigStatus true\n"
      "  lumoractl set config/automationMode embedded\n"
      "  lumoractl set config/client/19140000/rx/wantedPowerOffset 4.5\n"
      "  lumoractl set debug/loglevel verbose\n");
  command->callback(
      [&chosen, path, word] { chosen = [=](context& with) { return set(with, *path, *word); }; });

  command = app.add_subcommand("run", "Run a command");
  command->add_option("path", *path, "Path")->required();
  command->add_option("arguments", *words, "key=value words, or one JSON value");
  command->footer(
      "Examples:\n"
      "  lumoractl run command/channel/add center=19600000 width=5000 port=1 direction=both\n"
      "  lumoractl run command/channel/remove '{\"center\":19600000,\"direction\":\"both\"}'\n");
  command->callback(
      [&chosen, path, words] { chosen = [=](context& with) { return run(with, *path, *words); }; });

  command = app.add_subcommand("reset", "Forget the stored value of a parameter");
  command->add_option("path", *path, "Path")->required();
  command->callback(
      [&chosen, path] { chosen = [path](context& with) { return reset(with, *path); }; });
}

}  // namespace tools::ctl
