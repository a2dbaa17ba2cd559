// explain and events: what the daemon knows about itself, in sentences. The diagnosis itself is
// pure and lives in tools/insight.
#include <fmt/format.h>
#include <rapidjson/document.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <memory>

#include "platform/wire/json_conversion.h"
#include "platform/wire/nx_client_exception.h"
#include "tools/common/readings.h"
#include "tools/ctl/context.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/since.h"
#include "tools/insight/findings.h"
#include "tools/insight/standing.h"

namespace tools::ctl {

namespace {

using insight::finding;
using insight::node_insight;

long seconds_now() {
  return std::chrono::duration_cast<std::chrono::seconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

std::vector<insight::event> events_of(context& with) {
  std::vector<insight::event> events;
  const auto result = with.ask("history", "insight/log");
  for (const auto& member : result.GetObject()) {
    for (const auto& entry : member.value.GetArray()) {
      if (!entry["value"].IsString()) continue;
      if (auto told = insight::event_of(entry["value"].GetString()))
        events.push_back(std::move(*told));
    }
  }
  return events;
}

/// Paths that this daemon does not have, because it is still starting or has no such value, are
/// left out.
readings read_all(context& with) {
  readings read;
  for (const char* pattern : insight::insight_patterns()) {
    try {
      read.put_all(with.ask("get", pattern));
    } catch (const nx_client_exception& error) {
      if (error.code == nx_error::not_connected || error.code == nx_error::no_answer) throw;
    }
  }
  return read;
}

node_insight look(context& with) {
  std::vector<insight::event> events;
  try {
    events = events_of(with);
  } catch (const nx_client_exception& error) {
    // A daemon that has not built its node yet has no log.
    if (error.code != nx_error::not_found) throw;
  }
  auto node = insight::insight_of(read_all(with), std::move(events));
  node.now = seconds_now();
  return node;
}

/// The subject of the question.
struct question {
  std::vector<finding> findings;
  std::vector<std::string> rest;  ///< the state of everything else
};

bool concerns_everything(insight::cause of) {
  return of < insight::cause::device_silent;
}

question about_node(const node_insight& node) {
  question asked{insight::findings_of(node), {}};
  if (!node.summary.empty()) asked.rest.push_back(node.summary + ".");
  return asked;
}

question about_line(const node_insight& node) {
  node_insight alone = node;
  alone.channels.clear();
  question asked{insight::findings_of(alone), insight::line_sentences(node)};
  std::erase_if(asked.findings, [](const finding& each) { return each.on.starts_with("client"); });
  return asked;
}

question about_channel(const node_insight& node, const std::string& word) {
  const auto place = insight::find_channel(word, insight::places_of(node));
  if (!place) {
    throw usage_error(
        fmt::format("no channel {} on this node; give \"line\", THz (192.30), nm (1558.98) or "
                    "a name from: lumoractl list data/client",
                    word));
  }
  node_insight alone = node;
  std::erase_if(alone.channels, [&](const auto& each) { return each.place.id != place->id; });
  question asked{insight::findings_of(alone), insight::channel_sentences(node, *place)};
  const auto name = insight::thz_text(place->frequency);
  std::erase_if(asked.findings, [&](const finding& each) {
    const bool of_path = each.of == insight::cause::device_silent ||
                         each.of == insight::cause::fibre_cut || each.on.starts_with("client");
    return !concerns_everything(each.of) && !of_path && !each.on.starts_with(name);
  });
  return asked;
}

question answer_to(const node_insight& node, const std::string& what) {
  if (what.empty()) return about_node(node);
  return what == "line" ? about_line(node) : about_channel(node, what);
}

void print_people(const question& asked, const node_insight& node) {
  if (asked.findings.empty()) {
    fmt::print("All is well.\n");
  } else if (!insight::needs_person(asked.findings)) {
    fmt::print("Nothing needs a person.\n");
  }
  for (const auto& each : asked.findings) {
    fmt::print("{}\n", insight::full_sentence(each, node));
    for (const auto& more : {each.doing, each.remedy}) {
      if (!more.empty()) fmt::print("    {}\n", more);
    }
  }
  for (const auto& sentence : asked.rest)
    fmt::print("{}\n", sentence);
}

void print_json(const question& asked, const node_insight& node, const std::string& what) {
  nx::json_document told(rapidjson::kObjectType);
  auto& allocator = told.GetAllocator();
  const auto text = [&](const std::string& value) { return nx::to_json(value, allocator); };
  nx::json_value findings(rapidjson::kArrayType);
  for (const auto& each : asked.findings) {
    nx::json_value one(rapidjson::kObjectType);
    one.AddMember("cause", text(insight::name_of(each.of)), allocator);
    one.AddMember("on", text(each.on), allocator);
    one.AddMember("needsPerson", each.needs_person(), allocator);
    one.AddMember("sentence", text(insight::full_sentence(each, node)), allocator);
    one.AddMember("doing", text(each.doing), allocator);
    one.AddMember("remedy", text(each.remedy), allocator);
    one.AddMember("since", each.since.empty() ? nx::json_value() : text(each.since), allocator);
    findings.PushBack(one, allocator);
  }
  nx::json_value rest(rapidjson::kArrayType);
  for (const auto& sentence : asked.rest)
    rest.PushBack(text(sentence), allocator);
  told.AddMember("about", text(what.empty() ? "node" : what), allocator);
  told.AddMember("product", text(node.product), allocator);
  told.AddMember("well", !insight::needs_person(asked.findings), allocator);
  told.AddMember("findings", findings, allocator);
  told.AddMember("rest", rest, allocator);
  fmt::print("{}\n", nx::json_text(told));
}

int explain(context& with, const std::string& what) {
  const auto node = look(with);
  const auto asked = answer_to(node, what);
  with.json ? print_json(asked, node, what) : print_people(asked, node);
  return insight::needs_person(asked.findings) ? exit_needs_person : exit_ok;
}

int events(context& with, const std::string& since) {
  auto told = events_of(with);
  const auto from =
      since.empty() ? std::nullopt : std::make_optional(moment_of(since, seconds_now()));
  if (from) {
    std::erase_if(told, [&](const auto& each) {
      return insight::seconds_of(each.time).value_or(*from) < *from;
    });
  }
  if (with.json) {
    for (const auto& each : told)
      fmt::print("{}\n", each.json);
    return exit_ok;
  }
  const auto places = insight::places_of(insight::insight_of(read_all(with)));
  for (const auto& line : insight::event_lines(told, places))
    fmt::print("{}\n", line);
  return exit_ok;
}

}  // namespace

void declare_explain_commands(CLI::App& app, action& chosen) {
  auto word = std::make_shared<std::string>();
  auto* command = app.add_subcommand("explain", "Say what is wrong, and why");
  command->add_option(
      "what", *word,
      "\"line\", or a channel in THz, in nm, or by its name on the tree; without it, "
      "the node");
  command->footer(
      "Problems come first, causes before consequences, each with what the node is doing about it\n"
      "and what a person can do; then the state of everything else.\n"
      "Exit code 0 if all is well or will recover by itself, 6 if something needs a person.\n"
      "Examples:\n"
      "  lumoractl explain\n"
      "  lumoractl explain 192.30        THz; 1558.98 (nm) and 19230000 mean the same\n"
      "  lumoractl explain line --json\n");
  command->callback(
      [&chosen, word] { chosen = [word](context& with) { return explain(with, *word); }; });

  command = app.add_subcommand("events", "Print what has happened, oldest first");
  command
      ->add_option("--since", *word,
                   "Only events since then: 10m, 2h, 12:30 or 2026-01-31T12:30 (UTC)")
      ->type_name("TIME");
  command->footer(
      "The newest 1000 events since the daemon's start; times are UTC. An event that hit many\n"
      "channels at once is one line; --json prints each event as it is, one per line.\n"
      "Examples:\n"
      "  lumoractl events --since 10m\n"
      "  lumoractl events --json | grep parameterWritten\n");
  command->callback(
      [&chosen, word] { chosen = [word](context& with) { return events(with, *word); }; });
}

}  // namespace tools::ctl
