// What lumoractl makes of words and values: units, typed words, arguments, layout, endpoints.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <string>
#include <vector>

#include "platform/wire/json_conversion.h"
#include "tools/common/units.h"
#include "tools/common/value_text.h"
#include "tools/ctl/endpoint.h"
#include "tools/ctl/exit_code.h"
#include "tools/ctl/format.h"
#include "tools/ctl/typed_value.h"

using namespace tools;
using namespace tools::ctl;

TEST(units, follow_the_path_and_not_the_last_name_alone) {
  const std::vector<std::pair<std::string, std::string>> table{
      {"data/client/19140000/rx/power", "dBm"},
      {"data/client/19140000/rx/ocm/power", "dBm"},
      {"data/client/19140000/rx/attenuation", "dB"},
      {"data/line/1/attenuation", "dB/km"},
      {"interface/line/1/data/osc/remoteAttenuation", "dB/km"},
      {"data/client/19140000/rx/wantedPowerOffset", "dB"},
      {"config/client/19140000/rx/wantedPowerOffset", "dBm"},
      {"data/spanloss/oms/tx", "dB"},
      {"interface/line/1/remote/spanloss/section", ""},
      {"local/interface/line/1/data/dispersion/rx/osc", "ps/nm"},
      {"data/line/1/rx/length", "km"},
      {"data/client/19140000/rx/width", "GHz"},
      {"data/configStatus", ""},
      {"power", "dBm"},
      {"wantedpower", ""},
  };
  for (const auto& [path, unit] : table)
    EXPECT_EQ(unit_of(path), unit) << path;
}

TEST(typed_value, makes_json_of_the_type_that_the_path_takes) {
  const std::vector<std::array<std::string, 3>> table{
      {"bool", "on", "true"},
      {"bool", "0", "false"},
      {"float", " -3.5", "-3.5"},
      {"float", "1e1", "1e1"},
      {"int", "-7", "-7"},
      {"unsigned int", "4294967295", "4294967295"},
      {"string", "bright", "\"bright\""},
      {"string", "true", "\"true\""},
      {"string", "-5", "\"-5\""},
      {"string", "say \"hi\"", R"("say \"hi\"")"},
      {"string", "\"quoted\"", "\"quoted\""},
      {"json", "{\"mode\":\"auto\"}", "{\"mode\":\"auto\"}"},
      {"", "12", "12"},
      {"", "up", "\"up\""},
  };
  for (const auto& [type, word, json] : table) {
    EXPECT_EQ(typed_value(word, type), json) << type << " from " << word;
  }
}

TEST(typed_value, refuses_what_the_type_cannot_hold) {
  const std::vector<std::pair<std::string, std::string>> table{
      {"bool", "maybe"},     {"float", "three"},     {"float", ""}, {"int", "1.5"},
      {"int", "2147483648"}, {"unsigned int", "-1"}, {"json", "5"}, {"json", "{"},
  };
  for (const auto& [type, word] : table) {
    EXPECT_THROW(typed_value(word, type), usage_error) << type << " from " << word;
  }
}

TEST(command_arguments, come_from_assignments_or_from_one_json_value) {
  EXPECT_EQ(command_arguments({}), "{}");
  EXPECT_EQ(command_arguments({"center=19600000", "direction=both", "note=a=b"}),
            R"({"center":19600000,"direction":"both","note":"a=b"})");
  EXPECT_EQ(command_arguments({R"({"center":19600000})"}), R"({"center":19600000})");
  EXPECT_EQ(command_arguments({"true"}), "true");
  EXPECT_EQ(command_arguments({R"({"text":"a=b"})"}), R"({"text":"a=b"})");
  EXPECT_THROW(command_arguments({"center=1", "both"}), usage_error);
}

TEST(shielded, keeps_negative_numbers_from_being_options) {
  const std::vector<std::string> words{"set", "-3.5", "--json", "-r", "-", "3"};
  const std::vector<std::string> expected{"set", " -3.5", "--json", "-r", "-", "3"};
  EXPECT_EQ(shielded(words), expected);
  EXPECT_EQ(command_arguments({" -1"}), "-1");
}

TEST(endpoint, comes_from_one_way_and_the_root) {
  connection_options options;
  EXPECT_EQ(choose_endpoint(options, "").socket, "/tmp/device_managers/lumora");
  EXPECT_EQ(choose_endpoint(options, "/lab").socket, "/lab/tmp/device_managers/lumora");
  options.nexel = "sfp/0";
  options.root = "/other";
  EXPECT_EQ(choose_endpoint(options, "/lab").socket, "/other/tmp/nexels/sfp/0");
  options.socket = "/run/any";
  EXPECT_EQ(choose_endpoint(options, "/lab").socket, "/run/any");
  options.host = "::1";
  options.port = 7;
  EXPECT_EQ(choose_endpoint(options, "").host, "::1");
  EXPECT_EQ(choose_endpoint(options, "").port, 7U);
}

TEST(layout, shows_values_with_units_and_errors_with_codes) {
  const auto answer = nx::parse_json(
      R"({"data/line/1/tx/power":-1.5,"data/name":"n/a","data/osc/power":{"code":-61,"message":"Value has not been set"},"data/peak":true})");
  EXPECT_EQ(columns(rows_of(answer, false)),
            "data/line/1/tx/power  -1.5 dBm\n"
            "data/name             n/a\n"
            "data/osc/power        (-61 Value has not been set)\n"
            "data/peak             true\n");
  EXPECT_EQ(rows_of(answer, true).front().second, "-1.5");
}

TEST(layout, rounds_for_people_and_not_for_scripts) {
  const std::vector<std::array<std::string, 3>> table{
      {"3.9797976", "3.98 dB", "3.9797976"},
      {"13.040001", "13.04 dB", "13.040001"},
      {"100", "100 dB", "100"},
      {"-20.0", "-20 dB", "-20"},
  };
  for (const auto& [json, people, scripts] : table) {
    const auto value = nx::parse_json(json);
    EXPECT_EQ(value_text("data/gain", value, detail::with_unit), people);
    EXPECT_EQ(value_text("data/gain", value, detail::bare), scripts);
  }
  EXPECT_EQ(value_text("data/gain", nx::parse_json("-0.0001"), detail::with_unit), "0 dB");
}

TEST(layout, draws_levels_once_however_deep_the_next_path_goes) {
  EXPECT_EQ(tree_text({{"a/b/c", "1"}, {"a/b/d", ""}, {"a/e", ""}, {"f/b/c", ""}, {"g", "2"}}),
            "a/\n"
            "  b/\n"
            "    c  1\n"
            "    d\n"
            "  e\n"
            "f/\n"
            "  b/\n"
            "    c\n"
            "g  2\n");
}

TEST(layout, tells_what_a_path_is) {
  const auto record = nx::parse_json(
      R"({"type":"config param","valueType":"float","capabilities":{"read":true,"write":true,"subscribe":false},"constraints":{"min":0,"max":15}})");
  EXPECT_EQ(info_line("config/x", record),
            R"(config/x  config param  float  read,write  {"constraints":{"min":0,"max":15}})");
}

TEST(layout, shows_events_of_all_three_kinds) {
  const auto line = [](const std::string& text) { return event_line(nx::parse_json(text)); };
  EXPECT_EQ(line(R"({"method":"event","params":{"path":"data/osc/power","time":"T","value":2}})"),
            "T  data/osc/power  2 dBm");
  EXPECT_EQ(
      line(
          R"({"method":"event","params":{"path":"p","time":"T","error":{"code":-5,"message":"no"}}})"),
      "T  p  (-5 no)");
  EXPECT_EQ(line(R"({"method":"ended","params":{"path":"p","reason":"removed"}})"),
            "p  ended: removed");
}
