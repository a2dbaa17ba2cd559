#include "tree.h"

#include <rapidjson/document.h>

#include <utility>

namespace api_test {
namespace {

template <class Action>
std::string answer_of(const std::string& path, Action&& action) {
  nx::json_document answer(rapidjson::kObjectType);
  const auto failure = failure_of([&] { action(answer); });
  if (!failure.empty()) return failure;
  const auto member = answer.FindMember(path.c_str());
  return member == answer.MemberEnd() ? "" : nx::json_text(member->value);
}

}  // namespace

void session::deliver(std::shared_ptr<const nx_event> event, bool first) {
  const auto message = nx::parse_json(event->line);
  const auto& params = message["params"];
  auto text = (first ? "first " : "") + std::string(params["path"].GetString());
  if (params.HasMember("error")) {
    const auto& error = params["error"];
    text += " ! " + nx::json_text(error["code"]) + " " + error["message"].GetString();
  } else {
    text += " = " + nx::json_text(params["value"]);
  }
  events_.push_back(text);
}

std::vector<std::string> session::take() {
  return std::exchange(events_, {});
}

std::string tree::get(const std::string& path) {
  return answer_of(path,
                   [&](auto& answer) { db.find(path)->get(path, answer.GetAllocator(), answer); });
}

std::string tree::set(const std::string& path, const std::string& json) {
  return failure_of([&] { db.find(path)->set(path, nx::parse_json(json)); });
}

std::string tree::run(const std::string& path, const std::string& json) {
  return answer_of(path, [&](auto& answer) {
    db.find(path)->run(path, nx::parse_json(json), answer.GetAllocator(), answer);
  });
}

std::string tree::subscribe(const std::string& path, const std::shared_ptr<session>& who) {
  return answer_of(path, [&](auto& answer) {
    std::recursive_mutex subscriptions;
    std::unique_lock lock(subscriptions);
    db.find(path)->subscribe(who, path, answer.GetAllocator(), answer, lock);
  });
}

std::string tree::info(const std::string& path) {
  nx::json_document document;
  return nx::json_text(db.find(path)->get_info(document.GetAllocator()));
}

std::vector<std::string> tree::history(const std::string& path) {
  std::vector<std::string> values;
  for (const auto& entry : db.history(path))
    values.push_back(entry.value);
  return values;
}

}  // namespace api_test
