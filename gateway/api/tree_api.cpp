#include "gateway/api/tree_api.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <functional>
#include <set>

#include "gateway/api/event_stream.h"
#include "gateway/api/history_entries.h"
#include "platform/nexel_client/request_text.h"
#include "platform/value_tree/event_frame.h"
#include "platform/wire/json_rpc.h"
#include "platform/wire/json_text.h"
#include "platform/wire/nx_error.h"
#include "platform/wire/shown_text.h"

namespace gateway {

namespace {

constexpr std::size_t longest_path = 1024;
constexpr std::int32_t busy = -11;

/// Throws nx_error, saying what is wrong.
std::vector<std::string> paths_of(const request& asked, std::size_t most) {
  std::vector<std::string> paths;
  const auto [begin, end] = asked.query.equal_range("path");
  for (auto at = begin; at != end; ++at)
    paths.push_back(at->second);
  if (paths.empty()) throw nx_error(nx_error::invalid, "The query lacks path=PATH");
  if (paths.size() > most)
    throw nx_error(nx_error::invalid,
                   most == 1 ? "More than one path" : fmt::format("More than {} paths", most));
  for (const auto& path : paths) {
    if (path.empty() || path.size() > longest_path || nx::shown_text(path) != path) {
      throw nx_error(nx_error::invalid,
                     fmt::format("A path is 1 to {} bytes of text", longest_path));
    }
  }
  std::ranges::sort(paths);
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  return paths;
}

/// Collects the answers to several patterns in one object. A path that matches two of them occurs
/// in it once.
struct gathered {
  std::size_t outstanding;
  std::string members;
  std::optional<nx_error> fault;
  std::set<std::string, std::less<>> paths;

  void add(const nx::json_value* result, const nx_error* error) {
    --outstanding;
    if (error) fault = *error;
    if (!result || !result->IsObject()) return;
    for (const auto& member : result->GetObject()) {
      const std::string_view path(member.name.GetString(), member.name.GetStringLength());
      if (!paths.emplace(path).second) continue;
      members += members.empty() ? "" : ",";
      nx::append_json_string(members, path);
      members += ':';
      nx::append_json_text(members, member.value);
    }
  }
};

/// The daemon's entries up to where our own begin, then those.
std::string history_text(const std::string& path, const nx::json_value* told,
                         const recorder::series& own) {
  std::string entries;
  const auto add = [&entries](const std::string& entry) {
    entries += (entries.empty() ? "" : ",") + entry;
  };
  const auto begin = own.empty() ? std::string("~") : nx::event_time(own.front().at);
  for_each_entry(told, path, [&](const std::string& time, const nx::json_value& value) {
    if (time < begin) add(history_entry(time, nx::json_text(value)));
  });
  for (const auto& each : own)
    add(history_entry(nx::event_time(each.at), value_text(each)));
  std::string text = "{";
  nx::append_json_string(text, path);
  return text + ":[" + entries + "]}\n";
}

bool is_time(std::string_view text) {
  constexpr std::string_view form = "0000-00-00T00:00:00.000Z";
  return text.size() == form.size() && std::ranges::equal(text, form, [](char given, char wanted) {
           return wanted == '0' ? given >= '0' && given <= '9' : given == wanted;
         });
}

}  // namespace

unsigned status_of(const nx_error& error) {
  switch (error.code) {
    case nx_error::not_found:
      return 404;
    case nx_error::forbidden:
      return 403;
    case nx_error::not_connected:
    case busy:
      return 503;
    case nx_error::no_answer:
      return 504;
    case nx_error::invalid:
    case nx::json_rpc::invalid_params:
      return 400;
    default:
      return 502;
  }
}

answer error_answer(const nx_error& error) {
  std::string body = "{\"error\":";
  nx::json_rpc::append_error_object(body, error);
  auto made = json_answer(body + "}\n");
  made.status = status_of(error);
  return made;
}

void answer_values(tree_link& link, const request& asked, const respond& done) {
  const auto paths = paths_of(asked, tree_api::most_patterns);
  if (link.waiting() >= tree_api::most_questions) {
    throw nx_error(busy, fmt::format("{} requests are already waiting for the daemon",
                                     tree_api::most_questions));
  }
  const auto all = std::make_shared<gathered>(gathered{paths.size(), {}, {}, {}});
  for (const auto& path : paths) {
    link.call(
        "get", nx::params_text(path),
        [all, done](const nx::json_value* result, const nx_error* error) {
          all->add(result, error);
          if (all->outstanding > 0) return;
          done(all->fault ? error_answer(*all->fault) : json_answer('{' + all->members + "}\n"));
        });
  }
}

void tree_api::history(const request& asked, const respond& done) {
  const auto path = paths_of(asked, 1).front();
  mirror_->link().call("history", nx::params_text(path),
                       [this, path, done](const nx::json_value* result, const nx_error* error) {
                         const auto& own = past_.of(path);
                         if (error && own.empty()) return done(error_answer(*error));
                         done(json_answer(history_text(path, result, own)));
                       });
}

void tree_api::events(const request& asked, const respond& done) {
  std::vector<std::shared_ptr<topic>> topics;
  for (const auto& path : paths_of(asked, most_patterns)) {
    topics.push_back(mirror_->watch(path));
    if (!topics.back()) {
      return done(refusal(503, fmt::format("More than {} different patterns are watched",
                                           tree_mirror::most_topics)));
    }
  }
  std::string last_id(asked.header("last-event-id"));
  if (!is_time(last_id)) last_id.clear();
  answer made;
  made.type = "text/event-stream";
  made.stream = [this, topics = std::move(topics),
                 last_id = std::move(last_id)](std::shared_ptr<byte_sink> sink) {
    event_stream::start(std::move(sink), mirror_, settings_, io_, topics, last_id);
  };
  done(std::move(made));
}

}  // namespace gateway
