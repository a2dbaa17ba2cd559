// What the event log shows to a client that comes late, to a subscriber, and about others' actions.
#include "base/insight/event_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "api/config_param.h"
#include "base/insight/loop_watch.h"
#include "base/insight/stall_watch.h"
#include "helpers/guard_register.h"
#include "platform/value_tree/nx_db.h"
#include "tests/support/hand_clock.h"
#include "tests/support/log_capture.h"
#include "tests/support/recording_session.h"
#include "tests/support/tree_values.h"

namespace {

using insight::event_kind;
using insight::event_log;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class event_log_test : public testing::Test, protected test::on_hand_clock {
 protected:
  event_log_test() {
    log.reset();
    log.publish(tree);
  }
  ~event_log_test() override {
    log.reset();
    helpers::guard_register::instance().reset();
  }
  std::vector<std::string> told() const {
    std::vector<std::string> texts;
    for (const auto& each : log.events())
      texts.push_back(insight::json_of(each));
    return texts;
  }

  event_log& log = event_log::instance();
  nx_db tree;
};

TEST_F(event_log_test, keeps_the_newest_thousand_for_who_comes_late) {
  EXPECT_EQ(test::text_of(tree, "insight/log"), "");
  for (int i = 0; i < 1005; ++i)
    log.tell(event_kind::lit, insight::channel_subject("rx", 19140000), {{"number", double(i)}});
  const auto history = tree.history("insight/log");
  ASSERT_EQ(history.size(), 1000U);
  EXPECT_THAT(history.front().value, HasSubstr(R"(\"number\":5})"));
  EXPECT_THAT(test::text_of(tree, "insight/log"),
              AllOf(HasSubstr(R"("event":"lit","on":"client rx 19140000","number":1004})"),
                    testing::StartsWith(R"({"time":"20)")));
}

TEST_F(event_log_test, is_sent_to_who_watches) {
  const auto session = std::make_shared<test::recording_session>();
  test::subscribe_to(tree, "insight/log", session);
  session->take();
  log.tell(event_kind::cut, "line");
  log.tell(event_kind::mended, "line", {{"seconds", 12.34567}, {"odd", 0.0 / 0.0}});
  EXPECT_THAT(session->take(),
              ElementsAre(HasSubstr("cut"), HasSubstr(R"(\"seconds\":12.346,\"odd\":null)")));
}

struct owner {
  void set(float value) {
    if (value > 10) throw nx_error(-22, "too much");
  }
};

TEST_F(event_log_test, hears_of_guards_and_parameters_by_itself) {
  constexpr helpers::guard_kind freshness{"freshness"};
  constexpr helpers::guard_kind of_every_day{"every-day", 1};
  const test::log_capture lines;
  auto& guards = helpers::guard_register::instance();
  guards.end(freshness, "line");  // was never on it
  guards.begin(of_every_day, "line", "as usual");
  for (int i = 0; i < 3; ++i)
    guards.withhold(freshness, "line", "nothing new");
  clock->sleep(std::chrono::seconds(4));
  guards.end(freshness, "line");
  EXPECT_EQ(lines.count("Guard freshness begins on line: nothing new"), 1);
  EXPECT_TRUE(lines.contains("Guard freshness ends on line after 4.0 s, writes withheld: 3"));
  const auto holder = std::make_shared<owner>();
  const auto parameter =
      nx::api::config_param<&owner::set>::create(tree, "config/x", std::nullopt, holder);
  for (const char* value : {"1.5", "1.5"})
    test::write_to(tree, "config/x", value);
  EXPECT_THROW(test::write_to(tree, "config/x", "11"), nx_error);
  EXPECT_THAT(
      told(),
      ElementsAre(
          HasSubstr(R"("guardBegan","on":"line","guard":"freshness","reason":"nothing new"})"),
          HasSubstr(R"("reason":"nothing new","seconds":4,"withheld":3})"),
          HasSubstr(R"("parameterWritten","on":"config/x","value":"1.5"})")));
}

TEST_F(event_log_test, keeps_a_parameter_that_is_written_again_and_again_as_one_event) {
  const auto session = std::make_shared<test::recording_session>();
  test::subscribe_to(tree, "insight/log", session);
  session->take();
  for (int i = 0; i < 5000; ++i) {
    log.tell_written("config/x", std::to_string(i));
    if (i % 1000 == 0) log.tell_written("config/y", std::to_string(i));
    clock->sleep(std::chrono::milliseconds(2));
    log.settle();
  }
  EXPECT_THAT(session->take(), ElementsAre(HasSubstr("config/x"), HasSubstr("config/y")));
  clock->sleep(std::chrono::seconds(11));
  log.settle();
  EXPECT_EQ(session->take().size(), 2u);
  log.tell_written("config/x", "7");
  EXPECT_THAT(told(), ElementsAre(HasSubstr(R"("value":"4999","writes":5000,"until":"20)"),
                                  HasSubstr(R"("on":"config/y","value":"4000","writes":5,)"),
                                  HasSubstr(R"("on":"config/x","value":"7"})")));
}

TEST_F(event_log_test, tells_a_loop_that_fails_again_and_again_once) {
  insight::loop_watch watch("client rx");
  watch.look(true, "");
  for (int i = 0; i < 5; ++i) {
    watch.look(false, "Not connected: booster");
    clock->sleep(std::chrono::seconds(1));
  }
  watch.look(true, "");
  EXPECT_THAT(told(), ElementsAre(HasSubstr(R"("loopDown","on":"client rx","reason":"Not conn)"),
                                  HasSubstr(R"("loopUp","on":"client rx","seconds":5,)")));
}

TEST_F(event_log_test, tells_a_line_that_stands_still_once_and_its_end) {
  using enum insight::line_reason;
  insight::stall_watch watch;
  const std::chrono::system_clock::time_point since{std::chrono::seconds(7)};
  const auto stand = [&](insight::line_reason reason, int seconds) {
    for (; seconds > 0; --seconds) {
      watch.look({.reason = reason, .since = since}, clock->steady_now());
      clock->sleep(std::chrono::seconds(1));
    }
  };
  stand(nobody_answers, 8);  // the start
  stand(few_readings, 5);
  stand(no_sign_of_life, 20);
  stand(within_rest, 60);
  for (int i = 0; i < 5; ++i) {
    stand(fully_open, 15);
    stand(few_readings, 10);
  }
  stand(no_light, 20);
  stand(peer_is_lost, 20);
  stand(link_down, 15);
  stand(product_not_known, 15);
  stand(within_rest, 1);
  EXPECT_THAT(told(), ElementsAre(AllOf(HasSubstr(R"("stalled","on":"line","state":"peer's)"),
                                        HasSubstr("has reported nothing new for"),
                                        HasSubstr(R"("since":"1970-01-01T00:00:07)")),
                                  HasSubstr(R"("resumed","on":"line","state":"peer's readings)"),
                                  HasSubstr(R"("exhausted","on":"line")"),
                                  HasSubstr(R"("resumed","on":"line","state":"exhausted")"),
                                  HasSubstr(R"("stalled","on":"line","state":"no supervisory)"),
                                  HasSubstr(R"("resumed","on":"line","state":"no superv)"),
                                  HasSubstr(R"("stalled","on":"line","state":"peer not known)"),
                                  HasSubstr(R"("resumed","on":"line","state":"peer not known)")));
}

}  // namespace
