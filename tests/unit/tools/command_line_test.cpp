// How lumoractl converts words and values: typed words, arguments, layout.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <string>
#include <vector>

#include "platform/wire/json_conversion.h"
#include "tools/common/value_text.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/format.h"
#include "tools/ctl/typed_value.h"

using namespace tools;
using namespace tools::ctl;

std::string typed_or_refused(const std::string& word, const std::string& type) {
  try {
    return typed_value(word, type);
  } catch (const usage_error&) {
    return "refused";
  }
}

TEST(typed_value, makes_json_of_the_type_that_the_path_takes_and_refuses_the_rest) {
  const std::vector<std::array<std::string, 3>> table{
      {"bool", "on", "true"},
      {"bool", "0", "false"},
      {"bool", "maybe", "refused"},
      {"float", " -3.5", "-3.5"},
      {"float", "", "refused"},
      {"int", "1.5", "refused"},
      {"int", "2147483648", "refused"},
      {"unsigned int", "4294967295", "4294967295"},
      {"unsigned int", "-1", "refused"},
      {"string", "-5", "\"-5\""},
      {"string", "say \"hi\"", R"("say \"hi\"")"},
      {"string", "\"quoted\"", "\"quoted\""},
      {"json", "{\"mode\":\"auto\"}", "{\"mode\":\"auto\"}"},
      {"json", "{", "refused"},
      {"json", "5", "refused"},
      {"", "12", "12"},
      {"", "up", "\"up\""},
  };
  for (const auto& [type, word, json] : table)
    EXPECT_EQ(typed_or_refused(word, type), json) << type << " from " << word;
}

TEST(command_arguments, come_from_assignments_or_from_one_json_value) {
  EXPECT_EQ(command_arguments({"center=19600000", "direction=both", "note=a=b"}),
            R"({"center":19600000,"direction":"both","note":"a=b"})");
  EXPECT_EQ(command_arguments({R"({"text":"a=b"})"}), R"({"text":"a=b"})");
  EXPECT_EQ(command_arguments({" -1"}), "-1");
  EXPECT_THROW(command_arguments({"center=1", "both"}), usage_error);
}

TEST(layout, rounds_for_people_and_not_for_scripts) {
  const std::vector<std::array<std::string, 3>> table{
      {"3.9797976", "3.98 dB", "3.9797976"},
      {"100", "100 dB", "100"},
      {"-0.0001", "0 dB", "-1e-04"},
      {R"({"error":{"code":-61,"message":"Not set"}})", "(-61 Not set)", "(-61 Not set)"},
      {R"("a\nb\u001b[2J")", R"(a\nb\x1b[2J)", R"(a\nb\x1b[2J)"},
  };
  for (const auto& [json, people, scripts] : table) {
    const auto value = nx::parse_json(json);
    EXPECT_EQ(value_text("data/gain", value, detail::with_unit), people);
    EXPECT_EQ(value_text("data/gain", value, detail::bare), scripts);
  }
}

TEST(layout, draws_levels_once_however_deep_the_next_path_goes) {
  EXPECT_EQ(tree_text({{"a/b/c", "1"}, {"a/b/d", ""}, {"a/e", ""}, {"f/b/c", ""}, {"g", "2"}}),
            "a/\n  b/\n    c  1\n    d\n  e\nf/\n  b/\n    c\ng  2\n");
}

TEST(layout, shows_errors_and_ends_among_events) {
  const auto line = [](const std::string& text) { return event_line(nx::parse_json(text)); };
  EXPECT_EQ(line(R"({"method":"event","params":{"path":"p","time":"T",)"
                 R"("error":{"code":-5,"message":"no"}}})"),
            "T  p  (-5 no)");
  EXPECT_EQ(line(R"({"method":"ended","params":{"path":"p","reason":"removed"}})"),
            "p  ended: removed");
  // Nothing that a tree says steers the terminal.
  EXPECT_EQ(line(R"({"method":"event","params":{"path":"p\u0007","time":"\u009bT",)"
                 R"("error":{"code":-5,"message":"\u202eno\n"}}})"),
            R"(\u009bT  p\x07  (-5 \u202eno\n))");
}
