// The texts of channel commands and stored plans: what is accepted, what is refused and with which
// words.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "base/channel/plan_text.h"
#include "base/manager/channel_request.h"
#include "platform/wire/json_conversion.h"
#include "tests/support/failure.h"

namespace {

using test::failure_of;

/// The directions of a request that is taken, or what its client is told.
std::string answer_to(const std::string& text, const auto& read) {
  std::string answer;
  const auto failure = failure_of([&] {
    const auto directions = read(nx::parse_json(text)).directions;
    answer = std::string(directions.rx ? "rx" : "") + (directions.tx ? "tx" : "");
  });
  return failure.empty() ? answer : failure;
}

const std::string add_structure =
    "! -22 Invalid json structure. Expected center (unsigned, 8 digits, e.g. 19600000), direction "
    "(string, rx/tx), port (unsigned, 1-34) and width (unsigned, 100 * ghz).";
const std::string remove_structure =
    "! -22 Invalid json structure. Expected center (unsigned, 8 digits, e.g. 19600000), direction "
    "(string, rx/tx).";
const std::string bad_center = "! -22 Invalid center, expected something around 19000000";
const std::string bad_port = "! -22 Invalid port, expected 1-34";
const std::string bad_remove_center =
    "! -22 Invalid center, expected something within 19134375-19613125";

using row = std::pair<const char*, std::string>;

TEST(channel_request, add) {
  const row rows[] = {
      {R"({"center":19600000,"width":5000,"port":1})", "rxtx"},
      {R"({"center":19600000,"width":5000,"port":34,"direction":"tx"})", "tx"},
      {R"({"center":18000001,"width":-1,"port":1,"direction":"rx"})", "rx"},
      {R"({"center":19999999,"width":1,"port":1,"direction":"both"})", "rxtx"},
      {R"({"center":19600000.0,"width":5000,"port":1})", add_structure},
      {R"({"center":2147483648,"width":5000,"port":1})", add_structure},
      {R"([19600000,5000,1])", add_structure},
      {R"({"center":18000000,"width":5000,"port":0,"direction":"RX"})", bad_center},
      {R"({"center":20000000,"width":5000,"port":1})", bad_center},
      {R"({"center":-2147483648,"width":5000,"port":1})", bad_center},
      {R"({"center":19600000,"width":5000,"port":0,"direction":"RX"})", bad_port},
      {R"({"center":19600000,"width":5000,"port":35})", bad_port},
      {R"({"center":19600000,"width":5000,"port":1,"direction":"RX"})",
       "! -22 Invalid direction, expected rx or tx or 'both', got RX"},
  };
  for (const auto& [request, answer] : rows) {
    EXPECT_EQ(answer_to(request, manager::read_add_request), answer) << request;
  }
}

TEST(channel_request, remove) {
  const row rows[] = {
      {R"({"center":19134375,"direction":"rx"})", "rx"},
      {R"({"center":19613125,"direction":"both"})", "rxtx"},
      {R"({"center":19134374,"direction":"rx"})", bad_remove_center},
      {R"({"center":19613126,"direction":"rx"})", bad_remove_center},
      {R"({"center":19600000})", remove_structure},
      {R"({"center":19600000,"direction":5})", remove_structure},
      {R"([])", remove_structure},
      {R"({"center":19600000,"direction":"all"})",
       "! -22 Invalid direction, expected rx or tx or both, got all"},
  };
  for (const auto& [request, answer] : rows) {
    EXPECT_EQ(answer_to(request, manager::read_remove_request), answer) << request;
  }
}

TEST(plan_text, survives_store_and_load) {
  const std::vector<channel::plan_entry> entries{{19140000, 15000, 1, "1.2.3"},
                                                 {19155000, 15000, 2, "n/a"}};
  const auto text = channel::plan_to_text(entries);
  EXPECT_EQ(text, R"([{"center_frequency":19140000,"width":15000,"port":1,"version":"1.2.3"},)"
                  R"({"center_frequency":19155000,"width":15000,"port":2,"version":"n/a"}])");
  EXPECT_EQ(channel::parse_plan(text).entries, entries);
  EXPECT_EQ(channel::plan_to_text({}), "[]");
  for (const char* empty : {"", "[]"}) {
    EXPECT_TRUE(channel::parse_plan(empty).entries.empty());
    EXPECT_EQ(channel::parse_plan(empty).left_out, 0u);
  }
}

TEST(plan_text, a_bad_entry_is_left_out_and_the_rest_loads) {
  const auto plan =
      channel::parse_plan(R"([{"center_frequency":19140000,"width":"15000","port":1},)"
                          R"({"center_frequency":19155000,"width":15000,"port":2,"version":7},)"
                          R"({"center_frequency":19170000.0,"width":15000,"port":2}])");
  EXPECT_EQ(plan.left_out, 2u);
  EXPECT_EQ(plan.first_fault, "entry 1: width is no integer");
  EXPECT_EQ(plan.entries, (std::vector<channel::plan_entry>{{19155000, 15000, 2, "n/a"}}));
}

TEST(plan_text, what_no_switch_can_have_is_left_out_and_alone_no_plan_at_all) {
  const auto entry = [](long center, long width, long port) {
    return fmt::format(R"({{"center_frequency":{},"width":{},"port":{}}})", center, width, port);
  };
  constexpr unsigned slices = 768;
  constexpr long band = 768 * 625;
  const std::pair<std::string, std::string> rows[] = {
      {entry(19500000, 0, 1), "width 0 is not within 1 to 480000"},
      {entry(19500000, -5000, 1), "width -5000 is not within 1 to 480000"},
      {entry(19500000, band + 1, 1), "width 480001 is not within 1 to 480000"},
      {entry(18000000, 5000, 1), "center_frequency 18000000 is not within 18000001 to 19999999"},
      {entry(-19500000, 5000, 1), "center_frequency -19500000 is not within 18000001 to 19999999"},
      {entry(20000000, 5000, 1), "center_frequency 20000000 is not within 18000001 to 19999999"},
      {entry(19500000, 5000, 0), "port 0 is not within 1 to 34"},
      {entry(19500000, 5000, 35), "port 35 is not within 1 to 34"},
      {R"({"center_frequency":19500000,"port":1})", "width is missing"},
  };
  for (const auto& [bad, fault] : rows) {
    const auto good = entry(19140000, 5000, 1);
    const auto plan = channel::parse_plan("[" + good + "," + bad + "]", slices);
    EXPECT_EQ(plan.entries.size(), 1u) << bad;
    EXPECT_EQ(plan.first_fault, "entry 2: " + fault);
    EXPECT_EQ(failure_of([&, bad = bad] { channel::parse_plan("[" + bad + "]", slices); }),
              "! -22 Stored channel plan is not usable, no entry is good: entry 1: " + fault);
  }
  // The first of two that overlap stays, as with commands; channels that touch fit.
  const auto crowded =
      channel::parse_plan("[" + entry(19500000, 5000, 1) + "," + entry(19500000, 5000, 2) + "," +
                              entry(19504999, 5000, 1) + "," + entry(19505000, 5000, 1) + "]",
                          slices);
  ASSERT_EQ(crowded.entries.size(), 2u);
  EXPECT_EQ(crowded.entries[0].port, 1u);
  EXPECT_EQ(crowded.entries[1].center_frequency, 19505000u);
  EXPECT_EQ(crowded.left_out, 2u);
  EXPECT_EQ(channel::parse_plan("[" + entry(19372500, band, 34) + "]", slices).entries.size(), 1u);
}

TEST(plan_text, what_is_no_plan_is_refused_with_its_fault) {
  for (const char* text : {"{}", "[1]", "nonsense", "[{]", "\"[]\"", "7"}) {
    EXPECT_TRUE(failure_of([&] {
                  channel::parse_plan(text);
                }).starts_with("! -22 Stored channel plan is not an array of objects: "))
        << text;
  }
}

}  // namespace
