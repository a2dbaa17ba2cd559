// The records of the kinds of value about themselves, which management software reads.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <optional>

#include "api/command.h"
#include "api/config_param.h"
#include "api/const_value.h"
#include "api/hysteresis_filtered_value.h"
#include "api/status_value.h"
#include "api/volatile_value.h"
#include "tree.h"

namespace {

using namespace nx::api;

struct owner_t {
  float get_power() { return 1.0f; }
  int get_count() const { return 1; }
  void set_level(const std::string&) {}
  void set_offset(float) {}
  bool add(const nx::json_document&) { return true; }
};

struct info_test : testing::Test {
  api_test::tree tree;
  nx_db& db = tree.db;
  const std::shared_ptr<owner_t> owner = std::make_shared<owner_t>();
  const std::shared_ptr<value_group> group = value_group::create(1);

  /// The record, the line for people, and whether a read may wait for a device or a plan.
  void expect(const std::shared_ptr<nx_db_leaf_node>& node, const std::string& record,
              const std::string& line, bool read_waits = false) {
    EXPECT_EQ(node->read_may_wait(), read_waits) << line;
    EXPECT_EQ(tree.info(node->get_path(0)), record);
    EXPECT_EQ(node->get_info(), line);
  }
};

TEST_F(info_test, of_every_kind) {
  const std::string reads = R"("capabilities":{"read":true})";
  const std::string follows = R"("capabilities":{"read":true,"subscribe":true})";
  expect(const_value<unsigned>::create(db, "const", 7),
         R"({"type":"const value","valueType":"unsigned int",)" + reads + "}",
         "const value (read)");
  expect(status_value<float>::create(db, "status", 0.0f, 1),
         R"({"type":"status value","valueType":"float",)" + follows +
             R"(,"hysteresis":{"lessFunction":"std::equal_to<float>","delayCycles":1,)"
             R"("pollInterval":0}})",
         "status value (read,subscribe)");
  expect(
      command<&owner_t::add>::create(db, "command", owner),
      R"({"type":"command","valueType":"json","returnType":"bool","capabilities":{"write":true}})",
      "command value returning response (write)");
  expect(config_param<&owner_t::set_level>::create(db, "level", std::nullopt, owner),
         R"({"type":"config param","valueType":"string",)"
         R"("capabilities":{"read":true,"write":true,"subscribe":true}})",
         "config value (read,write,subscribe)", true);
  const auto prompt = prompt_param<&owner_t::set_level>::create(db, "prompt", std::nullopt, owner);
  EXPECT_FALSE(prompt->read_may_wait() || prompt->write_may_wait());
  expect(volatile_value<&owner_t::get_count>::create(db, "volatile", owner),
         R"({"valueType":"int",)" + reads + R"(,"type":"volatile value"})", "volatile value (read)",
         true);
  const auto polled = polled_value<&owner_t::get_power>::create(db, "polled", owner);
  group->add_value(polled, 1);
  expect(polled,
         R"({"type":"polled volatile value","valueType":"float",)" + follows +
             R"(,"hysteresis":{"function":"equal","pollInterval":1}})",
         "polled volatile value (read, subscribe)");
  expect(pushed_value<float>::create(db, "pushed", 1, 0.2),
         R"({"type":"pushed volatile value","valueType":"float",)" + follows +
             R"(,"hysteresis":{"function":"default","ImmediateLimit":"1","delayedLimit":"0.2",)"
             R"("delayCycles":10}})",
         "pushed volatile value (read, subscribe)");
}

TEST_F(info_test, declared_default_and_constraints) {
  using offset = config_param<&owner_t::set_offset>;
  const auto param = offset::create(db, "offset", std::nullopt, owner);
  const std::string fixed = R"({"type":"config param","valueType":"float",)"
                            R"("capabilities":{"read":true,"write":true,"subscribe":true})";
  param->declare_constraints(offset::min_max_grid_range_t{0.0f, 1.0f, 0.1f});
  EXPECT_EQ(tree.info("offset"), fixed + R"(,"constraints":{"min":0,"max":1,"grid":0.1}})");
  param->declare_constraints(std::vector<float>{0.5f, 2.0f});
  param->declare_default(0.2f);
  EXPECT_EQ(tree.info("offset"),
            fixed + R"(,"defaultValue":0.2,"constraints":{"allowed":[0.5,2]}})");
  EXPECT_EQ(tree.set("offset", "99"), "") << "constraints are a declaration for clients";
}

}  // namespace
