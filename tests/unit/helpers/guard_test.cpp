#include "helpers/guard.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "helpers/function_name.h"
#include "platform/kvs_client/kvs_client.h"
#include "platform/nexel_client/nx_client_exception.h"
#include "platform/wire/nx_error.h"
#include "tests/support/log_capture.h"

namespace sample {

template <class Failure>
struct loop {
  Failure failure;
  unsigned line = 0;

  void run() {
    line = __LINE__ + 1;
    helpers::guarded([this] { throw failure; });
  }
  void init(bool& cleaned) {
    helpers::logged_and_thrown([this] { throw failure; }, [&] { cleaned = true; });
  }
};

}  // namespace sample

namespace {

using testing::HasSubstr;
using testing::StartsWith;

template <class Failure>
void expect_form(const Failure& failure, const std::string& kind, const std::string& rest) {
  sample::loop<Failure> loop{failure};
  const test::log_capture log;
  loop.run();
  const auto records = log.records();
  ASSERT_EQ(records.size(), 1u);
  const auto signature = fmt::format(
      "function void sample::loop<Failure>::run() [with Failure = {}], line {}: ", kind, loop.line);
  EXPECT_EQ(records[0].text, kind + ", " + signature + rest);
  EXPECT_EQ(records[0].channel, fmt::format("tests/unit/helpers/guard_test.cpp:{}:run", loop.line));
}

TEST(guard, names_each_kind_of_failure_in_its_own_form) {
  expect_form(nx_error(-22, "Not implemented"), "nx_error", "Not implemented ");
  expect_form(nx_client_exception{-110, "No answer", "data/gain"}, "nx_client_exception",
              "No answer");
  expect_form(kvs_client_exception("store is gone"), "kvs_client_exception", "store is gone");
}

TEST(guard, tells_foreign_failures_with_their_type) {
  sample::loop<std::out_of_range> loop{std::out_of_range("slot 9")};
  sample::loop<int> number{7};
  const test::log_capture log;
  loop.run();
  number.run();
  const auto texts = log.texts();
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_THAT(texts[0], StartsWith("general exception: "));
  EXPECT_THAT(texts[0], HasSubstr("out_of_range"));
  EXPECT_THAT(texts[0], HasSubstr("slot 9"));
  EXPECT_THAT(texts[1], StartsWith("general exception: "));
}

TEST(guard, that_throws_on_cleans_up_and_says_so) {
  const test::log_capture log;
  bool cleaned = false;
  sample::loop<std::runtime_error> foreign{std::runtime_error("odd")};
  EXPECT_THROW(foreign.init(cleaned), std::runtime_error);
  EXPECT_TRUE(cleaned);
  sample::loop<nx_error> own{nx_error(-5, "Failed.")};
  EXPECT_THROW(own.init(cleaned), nx_error);
  const auto texts = log.texts();
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_THAT(texts[0], testing::EndsWith(", throwing"));
  EXPECT_THAT(texts[1], testing::EndsWith(": Failed. "));
}

TEST(short_function_name, of_signatures_as_the_compiler_writes_them) {
  struct {
    std::string_view signature, expected;
  } const table[] = {
      {"int main(int, const char**)", "main"},
      {"bool redis::_check_connection(bool)", "_check_connection"},
      {"void manager::base<RX_T, TX_T>::run(nx_db&, bool*) [with RX_T = a<b()>]", "run"},
      {"virtual std::map<std::string, float> a::b::values() const", "values"},
      {"nx_db& a::tree()", "tree"},
      {"T get(const std::string&) [with T = float; X = a::b]", "get"},
      {"void {anonymous}::apply<void (*)(int)>(T)", "apply"},
      {"main()::<lambda(int)>", "main"},
  };
  for (const auto& row : table) {
    EXPECT_EQ(helpers::short_function_name(row.signature), row.expected) << row.signature;
  }
}

}  // namespace
