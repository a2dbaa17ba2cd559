#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cmath>
#include <functional>
#include <limits>
#include <optional>

#include "api/command.h"
#include "api/config_param.h"
#include "api/const_value.h"
#include "api/status_value.h"
#include "tests/support/log_capture.h"
#include "tree.h"

namespace {

using namespace nx::api;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

TEST(status_value_test, publishes_each_change_once) {
  api_test::tree tree;
  const auto watcher = std::make_shared<api_test::session>();
  const auto value = status_value<float>::create(tree.db, "data/power", 1.0f, 1);
  EXPECT_EQ(tree.subscribe("data/power", watcher), "1");
  for (const float next : {1.0f, 2.0f, 2.0f, 1.0f})
    EXPECT_EQ(value->update(next), next);
  EXPECT_EQ(tree.get("data/power"), "1");
  EXPECT_EQ(value->get_last_sent(), 1.0f);
  EXPECT_THAT(watcher->take(),
              ElementsAre("first data/power = 1", "data/power = 2", "data/power = 1"));
  EXPECT_THAT(tree.history("data/power"), ElementsAre("2", "1"));
}

TEST(status_value_test, refuses_a_float_that_is_not_finite) {
  api_test::tree tree;
  const auto value = status_value<float>::create(tree.db, "power", 3.0f, 1);
  EXPECT_EQ(api_test::failure_of([&] { value->update(nan_value); }),
            "! -61 Argument value is NaN.");
  EXPECT_EQ(api_test::failure_of([&] { value->update(-infinite); }),
            "! -61 Argument value is infinite.");
  EXPECT_EQ(tree.get("power"), "3");
  EXPECT_EQ(api_test::failure_of([&] { const_value<float>::create(tree.db, "fact", nan_value); }),
            "! -61 Argument value is NaN.");
  EXPECT_EQ(tree.db.find("fact"), nullptr);
}

TEST(status_value_test, change_made_before_it_was_attached_waits_its_cycles) {
  api_test::tree tree;
  const auto value = std::make_shared<status_value<std::string>>("section", "na", 2);
  value->update("early");
  value->periodic_task(false);  // not attached: no cycle of it counts
  tree.db.add_node("data", value);
  const auto watcher = std::make_shared<api_test::session>();
  EXPECT_EQ(tree.subscribe("data/section", watcher), R"("na")");
  watcher->take();
  for (int cycle = 0; cycle < 2; ++cycle)
    value->periodic_task(false);
  EXPECT_THAT(watcher->take(), IsEmpty());
  for (int cycle = 0; cycle < 2; ++cycle)
    value->periodic_task(false);
  EXPECT_THAT(watcher->take(), ElementsAre(R"(data/section = "early")"));
}

struct settings_owner {
  void set_text(const std::string& text) {
    calls.push_back(text);
    if (refuse) throw nx_error(-22, "Refused");
  }
  void set_offset(unsigned channel, float offset) {
    calls.push_back(std::to_string(channel) + ":" + std::to_string(static_cast<int>(offset)));
  }
  void set_named(float value, const char* name) {
    calls.push_back(name + std::to_string(static_cast<int>(value)));
  }
  void set_document(const nx::json_document& document) { calls.push_back(nx::json_text(document)); }
  bool execute(const nx::json_document& request) {
    calls.push_back(nx::json_text(request));
    if (refuse) throw nx_error(-5, "Failed");
    return request.MemberCount() == 1;
  }

  std::vector<std::string> calls;
  bool refuse = false;
};

struct config_param_test : testing::Test {
  api_test::tree tree;
  std::shared_ptr<settings_owner> owner = std::make_shared<settings_owner>();
  const std::shared_ptr<api_test::session> watcher = std::make_shared<api_test::session>();

  std::vector<std::string> calls() { return std::exchange(owner->calls, {}); }
};

TEST_F(config_param_test, calls_its_setter_once_for_each_new_value) {
  config_param<&settings_owner::set_text>::create(tree.db, "text", std::nullopt, owner);
  EXPECT_EQ(tree.subscribe("text", watcher), "null");
  EXPECT_THAT(watcher->take(), IsEmpty()) << "no event before there is a value";

  EXPECT_EQ(tree.set("text", R"("a")"), "");
  EXPECT_EQ(tree.set("text", R"("a")"), "");
  EXPECT_EQ(tree.set("text", "12.5"), "") << "any other JSON is taken as its text";
  EXPECT_THAT(calls(), ElementsAre("a", "12.5"));
  EXPECT_THAT(watcher->take(), ElementsAre(R"(text = "a")", R"(text = "12.5")"));
  EXPECT_THAT(tree.history("text"), ElementsAre(R"("a")", R"("12.5")"));

  tree.db.find("text")->reset();
  EXPECT_EQ(tree.get("text"), "null");
  EXPECT_THAT(watcher->take(), IsEmpty());
  EXPECT_EQ(tree.set("text", R"("12.5")"), "");
  EXPECT_THAT(calls(), ElementsAre("12.5")) << "the first write after a reset";
}

TEST_F(config_param_test, keeps_its_value_when_a_write_fails) {
  config_param<&settings_owner::set_text>::create(tree.db, "text", "old", owner);
  config_param<&settings_owner::set_offset>::create(tree.db, "offset", 1.5f, owner, 7u);
  tree.subscribe("text", watcher);
  tree.subscribe("offset", watcher);
  watcher->take();

  owner->refuse = true;
  EXPECT_EQ(tree.set("text", R"("new")"), "! -22 Refused");
  EXPECT_EQ(tree.set("offset", R"("2")"), "? float, string");
  EXPECT_EQ(tree.set("offset", "1e39"), "! -61 Argument value is infinite.");
  EXPECT_EQ(tree.set("offset", "9007199254740993"), "? float, 64-bit unsigned integer");
  EXPECT_THAT(calls(), ElementsAre("new"));

  const std::weak_ptr<settings_owner> gone = owner;
  owner.reset();
  EXPECT_TRUE(gone.expired()) << "a node does not keep its owner";
  EXPECT_EQ(tree.set("text", R"("new")"), "! -2 Object has been removed");
  EXPECT_EQ(tree.set("text", R"("old")"), "");
  EXPECT_EQ(tree.get("text"), R"("old")");
  EXPECT_EQ(tree.get("offset"), "1.5");
  EXPECT_THAT(watcher->take(), IsEmpty());
}

TEST_F(config_param_test, passes_bound_arguments_before_or_behind_the_value) {
  config_param<&settings_owner::set_offset>::create(tree.db, "offset", std::nullopt, owner, 7u);
  config_param<&settings_owner::set_named>::create(tree.db, "named", std::nullopt, owner, "rx");
  config_param<&settings_owner::set_document>::create(tree.db, "json", std::nullopt, owner);
  EXPECT_EQ(tree.set("offset", "3"), "");
  EXPECT_EQ(tree.set("named", "4"), "");
  EXPECT_EQ(tree.set("json", R"({"a":[1,2]})"), "");
  EXPECT_EQ(tree.set("json", R"("{\"a\":[1,2]}")"), "") << "the same value, as a string";
  EXPECT_EQ(tree.get("json"), R"({"a":[1,2]})");
  EXPECT_THAT(calls(), ElementsAre("7:3", "rx4", R"({"a":[1,2]})"));
}

TEST_F(config_param_test, warns_of_the_first_read_of_an_initial_value) {
  const test::log_capture log;
  const std::string warning = "Configuration parameter read before being set, path = config/text";
  config_param<&settings_owner::set_text>::create(tree.db, "config/text", "initial", owner);
  config_param<&settings_owner::set_text>::create(tree.db, "config/empty", std::nullopt, owner);
  tree.set("config/text", R"("written")");
  tree.get("config/empty");
  EXPECT_EQ(log.count(warning), 0);
  EXPECT_EQ(tree.get("config/text"), R"("written")");
  tree.get("config/text");
  EXPECT_EQ(log.count(warning), 1);
  EXPECT_EQ(log.records().back().severity, note_log::warning);
}

TEST_F(config_param_test, setter_may_read_its_own_parameter) {
  struct reader : std::enable_shared_from_this<reader> {
    void set_level(float) { seen = read(); }
    std::function<std::string()> read;
    std::string seen;
  };
  const auto self = std::make_shared<reader>();
  self->read = [&] { return tree.get("level"); };
  config_param<&reader::set_level>::create(tree.db, "level", 1.0f, self);
  EXPECT_EQ(tree.set("level", "2"), "");
  EXPECT_EQ(self->seen, "1");
}

TEST_F(config_param_test, command_takes_a_document_and_answers) {
  command<&settings_owner::execute>::create(tree.db, "command/add", owner);
  const std::pair<const char*, const char*> table[] = {
      {R"({"a":1})", "true"},
      {R"("{\"a\":1}")", "true"},
      {R"({"a":1,"b":2})", "false"},
      {R"("12")", "? stringified object or array, string"},
      {"12", "? object or array, 32-bit unsigned integer"},
  };
  for (const auto& [request, answer] : table)
    EXPECT_EQ(tree.run("command/add", request), answer) << request;
  EXPECT_EQ(calls().size(), 3u);
  owner->refuse = true;
  EXPECT_EQ(tree.run("command/add", "{}"), "! -5 Failed");
  owner.reset();
  EXPECT_EQ(tree.run("command/add", "{}"), "! -2 Object has been removed");
  EXPECT_EQ(tree.get("command/add"), "! -22 Not readable: command/add");
}

}  // namespace
