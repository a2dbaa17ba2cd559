// Any bytes from a client: split into lines and answered by a tree with a node of each kind, once
// with the rights of the management side and once with those of the peer's side.
#include <rapidjson/document.h>

#include <cstdint>

#include "api/command.h"
#include "api/config_param.h"
#include "api/const_value.h"
#include "api/hysteresis_filtered_value.h"
#include "api/status_value.h"
#include "api/volatile_value.h"
#include "fuzz/check.h"
#include "helpers/logger.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/nx_session.h"
#include "platform/value_tree/server/request_handler.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/line_splitter.h"
#include "platform/wire/plain_message.h"

namespace {

using fuzz::check;
using namespace nx::api;

// Beyond a line's limit the splitter has a state of its own; a small one is found by short inputs.
constexpr std::size_t line_limit = 4096;
constexpr int silent = 3;

struct owner {
  void set_offset(float offset) { writes += offset == -99.0f ? 0 : 1; }
  void set_mode(const std::string& mode) {
    ++writes;
    if (mode.empty()) throw nx_error(-22, "Invalid mode");
  }
  void set_document(const rapidjson::Document&) { ++writes; }
  bool add(const rapidjson::Document& request) {
    ++writes;
    return request.IsObject();
  }
  float power() { return -3.5f; }
  float no_light() { throw nx_error(-61, "No light"); }
  unsigned writes = 0;
};

struct quiet_session : nx_session {
  void deliver(nx_event_ptr event, nx_subscription_number, bool) override {
    check(event->lines.find('\n') == event->lines.size() - 1, "an event is one line", event->lines);
    nx::parse_json(event->lines);
  }
  void subscription_ended(const std::string&, const std::string&) override {}
};

struct tree : nx::subscription_port {
  tree() {
    const_value<std::string>::create(db, "data/product", "a \"name\"\n");
    const_value<unsigned>::create(db, "data/count", 40);
    status_value<float>::create(db, "data/client/1/rx/power", 0.2f, 1);
    status_value<bool>::create(db, "data/client/2/rx/peak", true, 1);
    volatile_value<&owner::power>::create(db, "data/line/power", node_owner);
    volatile_value<&owner::no_light>::create(db, "data/line/dark", node_owner);
    polled_value<&owner::power>::create(db, "data/line/polled", node_owner);
    pushed_value<float>::create(db, "data/line/pushed", 0.5, 0.1)->update(1.0f);
    config_param<&owner::set_offset>::create(db, "config/offset", 0.0f, node_owner);
    config_param<&owner::set_mode>::create(db, "config/mode", std::nullopt, node_owner);
    config_param<&owner::set_document>::create(db, "config/document", std::nullopt, node_owner);
    command<&owner::add>::create(db, "command/channel/add", node_owner);
  }

  void subscribe(const std::string& path, nx::json_allocator& allocator,
                 std::string& members) override {
    std::unique_lock lock(mutex);
    nx::json_value result(rapidjson::kObjectType);
    for (const auto& node : db.match(path))
      db.subscribe(session, node, allocator, result, lock);
    const auto object = nx::json_text(result);
    members += std::string_view(object).substr(1, object.size() - 2);
  }
  void unsubscribe(const std::string& path) override {
    for (const auto& node : db.match(path))
      node->unsubscribe(session);
  }

  std::shared_ptr<owner> node_owner = std::make_shared<owner>();
  std::shared_ptr<quiet_session> session = std::make_shared<quiet_session>();
  std::recursive_mutex mutex;
  nx_db db;
};

void check_answer(const std::string& answer) {
  if (answer.empty()) return;
  check(answer.find('\n') == std::string::npos, "an answer is one line", answer);
  const auto document = nx::parse_json(answer);
  check(document.IsObject() || document.IsArray(), "an answer is a message or a batch", answer);
}

// A client that reads an event without a document finds what it would have found in one.
void check_event(std::string_view line) {
  const auto event = nx::read_plain_event(line);
  if (!event) return;
  const auto message = nx::parse_json(line.data(), line.size());
  const auto& params = message["params"];
  const std::string shown(line);
  check(params["path"].GetString() == event->path, "the path of a plain event", shown);
  check(params["time"].GetString() == event->time, "its time", shown);
  check(params["value"] == event->value, "its value", shown);
  check(nx::json_text(params["value"]) == nx::json_text(event->value), "as it is told", shown);
}

void answer_line(tree& on, std::string_view line) {
  const auto writes = on.node_owner->writes;
  check_answer(nx::request_handler(on.db, nx::access::read_only, &on).answer(line));
  check(on.node_owner->writes == writes, "a reader cannot write", std::string(line));
  const nx::request_handler full(on.db, nx::access::full, &on);
  std::string at_once;
  if (full.answer_within(nx::effort::at_once, line, at_once) == nx::effort::at_once) {
    check_answer(at_once);
    check(on.node_owner->writes == writes, "what may wait is not done at once", std::string(line));
  }
  check_answer(full.answer(line));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  logger::instance().level = silent;
  tree on;
  nx::line_splitter splitter(line_limit);
  // The first byte says in which pieces the rest arrives.
  const std::size_t piece = size == 0 ? 1 : data[0] * 8 + 1;
  for (std::size_t at = 1; at < size; at += piece) {
    splitter.append({reinterpret_cast<const char*>(data) + at, std::min(piece, size - at)});
    while (const auto item = splitter.next()) {
      if (!item->too_long) answer_line(on, item->text);
      check_event(item->text);
      check(item->text.size() <= line_limit, "no line beyond the limit comes out");
    }
    check(splitter.waiting() <= line_limit + piece, "no more waits than a line");
  }
  return 0;
}
