// Conversions, texts, parsing and framing of the protocol.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <limits>

#include "platform/wire/json_conversion.h"
#include "platform/wire/line_splitter.h"
#include "platform/wire/nx_error.h"
#include "platform/wire/plain_message.h"
#include "platform/wire/shown_text.h"
#include "platform/wire/socket_path.h"
#include "tests/support/environment.h"
#include "tests/support/failure.h"

namespace {

TEST(shown_text, leaves_nothing_that_steers_a_terminal) {
  const std::pair<std::string, std::string> table[] = {
      {"plain \xc3\xa4\xe2\x96\x88\xf0\x9f\x92\xa1 text",
       "plain \xc3\xa4\xe2\x96\x88\xf0\x9f\x92\xa1 text"},
      {std::string("\0", 1), R"(\x00)"},
      {"a\nb\tc\r\x1b[31m\x7f", R"(a\nb\tc\x0d\x1b[31m\x7f)"},
      {"\xc2\x80\xc2\x9f\xc2\xa0", "\\u0080\\u009f\xc2\xa0"},
      {"\xe2\x80\xae\xe2\x81\xa6\xe2\x80\x8f\xd8\x9c\xe2\x80\xa8",
       R"(\u202e\u2066\u200f\u061c\u2028)"},
      // Bytes that are not UTF-8: alone, cut off, too long a form, a surrogate, beyond the last.
      {"\x9b\xff\xc2", R"(\x9b\xff\xc2)"},
      {"\xc0\x9b\xed\xa0\x80", R"(\xc0\x9b\xed\xa0\x80)"},
      {"\xf4\x90\x80\x80\xe2\x80", R"(\xf4\x90\x80\x80\xe2\x80)"},
  };
  for (const auto& [text, shown] : table)
    EXPECT_EQ(nx::shown_text(text), shown);
}

// What the short way reads, it reads as the parser does; the rest it leaves to it.
TEST(plain_messages, are_read_as_the_parser_reads_them) {
  const auto value_of = [](const std::string& text, bool event) {
    const auto shown = [](const auto& read) {
      return read && read->path == "a/b" ? nx::json_text(read->value) : "left to the parser";
    };
    const auto end = text + "}}";
    if (!event)
      return shown(nx::read_plain_result(R"({"jsonrpc":"2.0","id":17,"result":{"a/b":)" + end));
    return shown(nx::read_plain_event(
        R"({"jsonrpc":"2.0","method":"event","params":{"path":"a/b","time":"t","value":)" + end));
  };
  for (const char* text :
       {"0", "-0", "17", "-99", "999999999999999", "9223372036854775807", "-9223372036854775808",
        "0.2", "-12.57", "-0.0", "0.1234567890123", "123456789.012345", "1234567890.0123456789",
        "0.000000000000001", "12345678901234567890.5", "true", "false"}) {
    for (const bool event : {true, false})
      EXPECT_EQ(value_of(text, event), nx::json_text(nx::parse_json(text))) << text;
  }
  for (const char* text : {"", "-", "01", "-01", "1.", ".5", "1.2.3", "+1", "1e3", "1 ", "0x1",
                           "9223372036854775808", "null", "[1]", "\"a\"", "tru", "1,\"c\":2"}) {
    for (const bool event : {true, false})
      EXPECT_EQ(value_of(text, event), "left to the parser") << text;
  }
  // Of the time the length is looked at first, and then whether it ends there.
  const auto reads_time = [](const std::string& time) {
    return nx::read_plain_event(
               R"({"jsonrpc":"2.0","method":"event","params":{"path":"a/b","time":")" + time +
               R"(","value":1}})")
        .has_value();
  };
  for (const char* time : {"2026-01-31T12:00:00.123Z", "2026-01-31T12:00:00Z", ""})
    EXPECT_TRUE(reads_time(time)) << time;
  for (const char* time : {R"(2026-01-31T12:00:00.12\Z)", R"(2026","value":2,"x":"123)",
                           "2026-01-31T12:00:00.12\x7fZ"})
    EXPECT_FALSE(reads_time(time)) << time;
  for (const char* path : {"a\\b", "a\tb", "caf\xc3\xa9", "12345678\x7f", "\x1f", "1234567\\n"}) {
    EXPECT_FALSE(nx::read_plain_result(std::string(R"({"jsonrpc":"2.0","id":1,"result":{")") +
                                       path + R"(":1}})"))
        << path;
  }
}

using nx::from_json;
using nx::json_document;
using nx::json_text;
using nx::parse_json;

// What a conversion gives, as text: the value or "? EXPECTED, FOUND".
template <class T>
std::string converted(const std::string& text) {
  std::string got;
  const auto failure = test::failure_of([&] {
    json_document target;
    got = json_text(nx::to_json(from_json<T>(parse_json(text)), target.GetAllocator()));
  });
  return got + failure;
}

TEST(json_conversion, table) {
  using conversion = std::string (*)(const std::string&);
  const std::tuple<const char*, conversion, const char*, const char*> rows[] = {
      {"bool", converted<bool>, "true", "true"},
      {"bool", converted<bool>, "1", "? bool, 32-bit unsigned integer"},
      {"bool", converted<bool>, "null", "? bool, null"},
      {"float", converted<float>, "0.2", "0.2"},
      {"float", converted<float>, "9007199254740992", "9.007199e+15"},
      {"float", converted<float>, "9007199254740993", "? float, 64-bit unsigned integer"},
      {"float", converted<float>, "-9007199254740993", "? float, 64-bit signed integer"},
      {"float", converted<float>, "\"1\"", "? float, string"},
      {"int", converted<int>, "-2147483648", "-2147483648"},
      {"int", converted<int>, "2147483648", "? int, 32-bit unsigned integer"},
      {"int", converted<int>, "1.5", "? int, float"},
      {"int", converted<int>, "1e300", "? int, double"},
      {"unsigned", converted<unsigned>, "4294967295", "4294967295"},
      {"unsigned", converted<unsigned>, "-1", "? unsigned int, 32-bit signed integer"},
      {"unsigned", converted<unsigned>, "4294967296", "? unsigned int, 64-bit unsigned integer"},
      {"string", converted<std::string>, "\"a\\u0000b\"", "\"a\\u0000b\""},
      {"string", converted<std::string>, "{ \"a\" : [ 1, null ] }", "\"{\\\"a\\\":[1,null]}\""},
      {"document", converted<json_document>, "{\"a\":1}", "{\"a\":1}"},
      {"document", converted<json_document>, "\"[1,2]\"", "[1,2]"},
      {"document", converted<json_document>, "\"12\"", "? stringified object or array, string"},
      {"document", converted<json_document>, "\"{\"", "? stringified object or array, string"},
      {"document", converted<json_document>, "12", "? object or array, 32-bit unsigned integer"},
  };
  for (const auto& [name, convert, text, expected] : rows)
    EXPECT_EQ(convert(text), expected) << name << text;
  // The nodes' own test for infinity has to see one.
  EXPECT_EQ(from_json<float>(parse_json("-1e300")), -std::numeric_limits<float>::infinity());
}

TEST(json_parse, numbers_are_what_their_text_says) {
  const std::pair<const char*, double> table[] = {
      {"0e-45", 0},
      {"-0.0e-100", 0},
      {"0e45", 0},
      {"0.0000000000000000000000000000000", 0},
      {"1e-400", 0},
      {"4.9e-324", 4.9e-324},
      {"1.7976931348623157e308", 1.7976931348623157e308},
      {"123456789012345678901234567890", 123456789012345678901234567890.0}};
  for (const auto& [text, number] : table)
    EXPECT_EQ(parse_json(text).GetDouble(), number) << text;
  EXPECT_TRUE(parse_json("-2147483648").IsInt());
  EXPECT_TRUE(parse_json("18446744073709551615").IsUint64());
}

TEST(json_text, reads_back_and_is_short) {
  const auto text_of = [](double number) { return json_text(nx::json_value(number)); };
  EXPECT_EQ(text_of(0.2F), "0.2");
  EXPECT_EQ(text_of(-99.0), "-99");
  EXPECT_EQ(text_of(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(text_of(1e300), "1e+300");
  for (float number : {1.0F / 3, 16777217.0F, std::numeric_limits<float>::denorm_min(),
                       std::numeric_limits<float>::max()}) {
    EXPECT_EQ(from_json<float>(parse_json(text_of(number))), number);
  }
  EXPECT_THROW(text_of(std::numeric_limits<double>::infinity()), nx_error);
  for (const char* text : {R"("a\"b\\c\n\t\u0001")", R"({"grün":["µ",{"":[]}],"z":{}})"})
    EXPECT_EQ(json_text(parse_json(text)), text);
  EXPECT_THROW(text_of(std::numeric_limits<float>::quiet_NaN()), nx_error);
}

TEST(parse_json, tells_what_is_wrong_and_where) {
  const std::string deep64 = std::string(64, '[') + std::string(64, ']');
  const std::string too_deep = "nested deeper than 64 levels";
  const std::pair<std::string, std::string> table[] = {
      {deep64, ""},
      {'[' + deep64 + ']', too_deep},
      {std::string(10000, '['), too_deep},
      {R"({"a":1,})", "Missing a name for object member at byte 7"},
      {"", "The document is empty at byte 0"},
      {"1 2", "The document root must not be followed by other values at byte 2"},
      {std::string("{}\0{}", 5), "Zero byte at byte 2"},
      {"\xef\xbb\xbf{}", "Byte order mark at byte 0"},
      {"NaN", "Invalid value at byte 0"},
      {"1e309", "Number too big to be stored in double at byte 0"},
      // Not UTF-8: a stray byte, an overlong form, a surrogate as bytes and as an escape.
      {"\"\xff\"", "Not UTF-8"},
      {"\"\xc0\xaf\"", "Not UTF-8"},
      {"\"\xed\xa0\x80\"", "Not UTF-8"},
      {R"("\udc00")", "Not UTF-8"},
      {R"({"\udc00":1})", "Not UTF-8"},
      {"\"\xed\x9f\xbf \xf0\x9f\x98\x80\"", ""},
  };
  for (const auto& [text, fault] : table) {
    const auto told = test::failure_of([&, json = text] { parse_json(json); });
    EXPECT_EQ(told.empty(), fault.empty()) << told;
    if (!fault.empty()) {
      EXPECT_TRUE(told.starts_with("! -32700 Parse error: " + fault)) << told;
    }
  }
}

std::vector<std::string> split(nx::line_splitter& splitter, std::string_view bytes) {
  splitter.append(bytes);
  std::vector<std::string> lines;
  while (const auto next = splitter.next()) {
    lines.push_back(next->too_long ? "too long" : std::string(next->text));
  }
  return lines;
}

TEST(line_splitter, cuts_whatever_the_pieces) {
  const std::string stream = "one\n\r\n\ntwo\r\n12345678\r\n123456789\nthree\n";
  const std::vector<std::string> expected = {"one", "two", "12345678", "too long", "three"};
  for (std::size_t piece = 1; piece <= stream.size(); ++piece) {
    nx::line_splitter splitter(8);
    std::vector<std::string> found;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
      for (auto& line : split(splitter, std::string_view(stream).substr(at, piece))) {
        found.push_back(line);
      }
    }
    EXPECT_EQ(found, expected) << "in pieces of " << piece;
  }
}

TEST(line_splitter, does_not_store_a_line_that_is_too_long) {
  nx::line_splitter splitter(8);
  EXPECT_EQ(split(splitter, "123456789"), std::vector<std::string>{"too long"});
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(split(splitter, std::string(1000, 'x')).empty());
    EXPECT_EQ(splitter.waiting(), 0U);
  }
  EXPECT_EQ(split(splitter, "end\nnext\n"), std::vector<std::string>{"next"});
}

TEST(rooted_path, puts_the_root_in_front_once) {
  const std::array<const char*, 3> table[] = {{"", "/tmp/a", "/tmp/a"},
                                              {"/root", "/tmp/a", "/root/tmp/a"},
                                              {"/root/", "/tmp/a", "/root/tmp/a"},
                                              {"/root", "a", "/root/a"}};
  for (const auto& [root, path, expected] : table) {
    const test::environment_variable variable("NX_ROOT", root);
    EXPECT_EQ(nx::rooted_path(path), expected);
  }
}

}  // namespace
