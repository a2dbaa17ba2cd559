#include "helpers/guard.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "helpers/function_name.h"
#include "helpers/start_report.h"
#include "platform/kvs_client/kvs_client.h"
#include "platform/wire/nx_client_exception.h"
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
  void start() {
    bool cleaned = false;
    helpers::logged_and_thrown([&] { init(cleaned); }, [] {});
  }
};

}  // namespace sample

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

template <class Failure>
std::string told(const Failure& failure) {
  sample::loop<Failure> loop{failure};
  const test::log_capture log;
  loop.run();
  const auto record = log.records().at(0);
  EXPECT_EQ(record.channel, fmt::format("tests/unit/helpers/guard_test.cpp:{}:run", loop.line));
  const auto line = fmt::format("line {}: ", loop.line);
  auto text = record.text;
  const auto at = text.find(line);
  return at == text.npos ? text : text.erase(at, line.size());
}

TEST(guard, names_each_kind_of_failure_in_its_own_form) {
  const std::string own = ", function void sample::loop<Failure>::run() [with Failure = ";
  EXPECT_EQ(told(nx_error(-22, "Not implemented")),
            "nx_error" + own + "nx_error], Not implemented ");
  EXPECT_EQ(told(nx_client_exception{-110, "No answer", "data/gain"}),
            "nx_client_exception" + own + "nx_client_exception], No answer");
  EXPECT_EQ(told(kvs_client_exception("store is gone")),
            "kvs_client_exception" + own + "kvs_client_exception], store is gone");
  EXPECT_THAT(told(std::out_of_range("slot 9")),
              testing::AllOf(StartsWith("general exception: "), HasSubstr("out_of_range"),
                             HasSubstr("slot 9")));
  EXPECT_THAT(told(7), StartsWith("general exception: "));
}

TEST(guard, that_throws_on_cleans_up_and_says_so) {
  const test::log_capture log;
  bool cleaned = false;
  sample::loop<std::runtime_error> foreign{std::runtime_error("odd")};
  EXPECT_THROW(foreign.init(cleaned), std::runtime_error);
  EXPECT_TRUE(cleaned);
  sample::loop<nx_error> own{nx_error(-5, "Failed.")};
  EXPECT_THROW(own.start(), nx_error);
  const auto texts = log.texts();
  ASSERT_EQ(texts.size(), 3u) << "each guard on the way says where it stood";
  EXPECT_THAT(texts[1], HasSubstr("::init("));
  EXPECT_THAT(texts[2], HasSubstr("::start("));
  EXPECT_THAT(texts[0], testing::EndsWith(", throwing"));
  EXPECT_THAT(texts[1], testing::EndsWith(": Failed. "));
}

TEST(start_report, keeps_each_fault_until_that_one_is_mended) {
  auto& report = helpers::start_report::instance();
  for (const char* subject : {"panel", "pump"})
    report.tell(subject, std::string("no ") + subject);
  report.clear("panel");
  EXPECT_THAT(report.text(), testing::AllOf(HasSubstr("no pump"), Not(HasSubstr("no panel"))));
  report.clear("pump");
  EXPECT_THAT(report.text(), Not(HasSubstr("no pump")));
}

TEST(short_function_name, of_signatures_as_the_compiler_writes_them) {
  const std::pair<std::string_view, std::string_view> table[] = {
      {"int main(int, const char**)", "main"},
      {"bool redis::_check_connection(bool)", "_check_connection"},
      {"void manager::base<RX_T, TX_T>::run(nx_db&, bool*) [with RX_T = a<b()>]", "run"},
      {"virtual std::map<std::string, float> a::b::values() const", "values"},
      {"nx_db& a::tree()", "tree"},
      {"T get(const std::string&) [with T = float; X = a::b]", "get"},
      {"void {anonymous}::apply<void (*)(int)>(T)", "apply"},
      {"main()::<lambda(int)>", "main"},
  };
  for (const auto& [signature, expected] : table)
    EXPECT_EQ(helpers::short_function_name(signature), expected) << signature;
}

}  // namespace
