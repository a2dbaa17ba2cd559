#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <future>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "api/hysteresis_filtered_value.h"
#include "api/volatile_value.h"
#include "platform/wire/nx_client_exception.h"
#include "tree.h"

namespace {

using namespace nx::api;
using testing::ElementsAre;
using testing::IsEmpty;

/// The getters of a loop are members of a class template's base, and products derive from it.
template <class T>
struct loop_base {
  virtual ~loop_base() = default;
  virtual float get_power() {
    ++reads;
    return next();
  }
  std::string get_name(const char* direction, unsigned channel) const {
    return "line-" + std::string(direction) + "-" + std::to_string(channel);
  }
  nx::json_document get_settings() { return nx::parse_json(settings); }

  std::function<float()> next = [] { return 0.0f; };
  std::string settings = R"({"mode":"auto"})";
  std::atomic<int> reads{0};
};
struct loop : loop_base<int> {};

struct polled_value_test : testing::Test {
  api_test::tree tree;
  std::shared_ptr<loop> owner = std::make_shared<loop>();
  std::shared_ptr<value_group> group = value_group::create(1);
  const std::shared_ptr<api_test::session> watcher = std::make_shared<api_test::session>();

  void publish_power(unsigned interval = 1) {
    group->add_value(polled_value<&loop::get_power>::create(tree.db, "power", owner), interval);
  }
  void next_is(float value) {
    owner->next = [value] { return value; };
  }
  template <class Failure>
  void next_throws(Failure failure) {
    owner->next = [failure]() -> float { throw failure; };
  }
};

TEST_F(polled_value_test, is_unset_until_the_first_poll) {
  publish_power();
  EXPECT_EQ(tree.get("power"), "! -61 Value has not been set");
  EXPECT_EQ(tree.subscribe("power", watcher), R"({"code":-61,"message":"Value has not been set"})");
  EXPECT_THAT(watcher->take(), ElementsAre("first power ! -61 Value has not been set"));
  next_is(2.5f);
  tree.seconds(3);
  EXPECT_THAT(watcher->take(), ElementsAre("power = 2.5")) << "the same value is published once";
  EXPECT_EQ(tree.get("power"), "2.5");
  EXPECT_THAT(tree.history("power"), ElementsAre("2.5"));
  EXPECT_EQ(tree.subscribe("power", watcher), "2.5");
}

TEST_F(polled_value_test, moves_between_value_and_error) {
  publish_power();
  tree.subscribe("power", watcher);
  watcher->take();
  const std::pair<std::function<void()>, std::vector<std::string>> table[] = {
      {[&] { next_is(1.0f); }, {"power = 1"}},
      {[&] { next_throws(nx_error(-5, "a")); }, {"power ! -5 a"}},
      {[&] { next_throws(nx_error(-5, "a")); }, {}},
      {[&] { next_throws(nx_error(-5, "b")); }, {"power ! -5 b"}},
      {[&] { next_throws(nx_error(-22, "b")); }, {"power ! -22 b"}},
      {[&] { next_is(1.0f); }, {"power = 1"}},  // recovery shows, though the value is the old one
      {[&] {
         next_throws(nx_client_exception{-110, "hung", "data/rxPower"});
       },
       {"power ! -1 Unknown error!"}},
      {[&] { next_throws(std::runtime_error("x")); }, {}},
      {[&] { next_is(std::numeric_limits<float>::quiet_NaN()); },
       {"power ! -61 Value returned for path power is NaN."}},
      {[&] { next_is(-std::numeric_limits<float>::infinity()); },
       {"power ! -61 Value returned for path power is infinite."}},
      {[&] { next_is(2.0f); }, {"power = 2"}},
      {[&] { owner.reset(); }, {"power ! -2 Object has been removed"}},
  };
  for (std::size_t i = 0; i < std::size(table); ++i) {
    table[i].first();
    tree.seconds(1);
    EXPECT_EQ(watcher->take(), table[i].second) << "poll " << i;
  }
}

TEST_F(polled_value_test, getters_take_bound_arguments_and_give_documents) {
  group->add_value(polled_value<&loop::get_name>::create(tree.db, "name", owner, "rx", 7u), 1);
  group->add_value(polled_value<&loop::get_settings>::create(tree.db, "settings", owner), 1);
  tree.subscribe("settings", watcher);
  tree.seconds(1);
  EXPECT_EQ(tree.get("name"), R"("line-rx-7")");
  EXPECT_EQ(tree.get("settings"), R"({"mode":"auto"})");
  watcher->take();
  tree.seconds(1);
  EXPECT_THAT(watcher->take(), IsEmpty()) << "an equal document is no change";
  owner->settings = R"({"mode":"manual"})";
  tree.seconds(1);
  EXPECT_THAT(watcher->take(), ElementsAre(R"(settings = {"mode":"manual"})"));
}

TEST_F(polled_value_test, slow_getter_is_entered_once_and_holds_up_no_reader) {
  const auto value = polled_value<&loop::get_power>::create(tree.db, "power", owner);
  value->periodic_task(false);
  std::promise<void> entered;
  std::promise<void> may_return;
  owner->next = [&] {
    entered.set_value();
    may_return.get_future().wait();
    return 5.0f;
  };
  std::thread slow([&] { value->periodic_task(false); });
  entered.get_future().wait();
  value->periodic_task(false);
  EXPECT_EQ(owner->reads, 2);
  EXPECT_EQ(tree.get("power"), "0");
  EXPECT_EQ(tree.subscribe("power", watcher), "0");
  may_return.set_value();
  slow.join();
  EXPECT_EQ(tree.get("power"), "5");
  next_is(6.0f);
  value->periodic_task(false);
  EXPECT_EQ(tree.get("power"), "6") << "the poll after a slow one runs";
}

TEST_F(polled_value_test, volatile_value_reads_at_each_get) {
  volatile_value<&loop::get_power>::create(tree.db, "power", owner);
  next_is(1.5f);
  EXPECT_EQ(tree.get("power"), "1.5");
  next_is(std::numeric_limits<float>::infinity());
  EXPECT_EQ(tree.get("power"), "! -61 Value returned for path power is infinite.");
  EXPECT_EQ(tree.subscribe("power", watcher), "! -22 Not subscribable: power");
  owner.reset();
  EXPECT_EQ(tree.get("power"), "! -2 Object has been removed");
}

struct pushed_value_test : testing::Test {
  api_test::tree tree;
  const std::shared_ptr<value_group> group = value_group::create(1);
  const std::shared_ptr<api_test::session> watcher = std::make_shared<api_test::session>();
  const std::shared_ptr<pushed_value<float>> value =
      pushed_value<float>::create(tree.db, "loss", 1, 0.2);

  void begin_at(float start) {
    value->update(start);
    tree.subscribe("loss", watcher);
    watcher->take();
  }
};

TEST_F(pushed_value_test, publishes_what_is_beyond_its_limits) {
  EXPECT_EQ(api_test::failure_of([&] { value->get_filtered(); }), "! -61 Value has not been set");
  begin_at(10.0f);
  value->update(10.1f);
  EXPECT_EQ(tree.get("loss"), "10");
  EXPECT_EQ(value->get_filtered(), 10.0f);
  value->update(10.5f);
  value->update(10.6f);
  value->update(10.71f);  // drift is measured from what was last published
  value->update(12.0f);
  EXPECT_EQ(api_test::failure_of([&] { value->update(std::numeric_limits<float>::quiet_NaN()); }),
            "! -61 Argument value is NaN.");
  EXPECT_EQ(tree.get("loss"), "12");
  EXPECT_THAT(watcher->take(), ElementsAre("loss = 10.5", "loss = 10.71", "loss = 12"));
}

TEST_F(pushed_value_test, in_a_group_a_small_push_goes_out_at_the_eleventh_poll) {
  group->add_value(value, 1);
  begin_at(10.0f);
  value->update(10.5f);
  tree.seconds(10);
  EXPECT_THAT(watcher->take(), IsEmpty());
  tree.seconds(1);
  EXPECT_THAT(watcher->take(), ElementsAre("loss = 10.5"));
  tree.seconds(5);
  value->update(11.6f);
  EXPECT_THAT(watcher->take(), ElementsAre("loss = 11.6"));
}

TEST(initial_result_test, exceptions_become_the_error_that_a_value_holds) {
  const std::pair<std::function<std::string()>, const char*> table[] = {
      {[]() -> std::string { throw nx_error(-5, "text"); }, "! -5 text"},
      {[]() -> std::string {
         throw nx_client_exception{-107, "away", "path"};
       },
       "! -107 away"},
      {[]() -> std::string { throw std::system_error(ENOENT, std::generic_category()); },
       "! 2 System error (No such file or directory)"},
      {[]() -> std::string { throw std::runtime_error("x"); }, "! -1 Runtime error (x)"},
      {[]() -> std::string { throw std::invalid_argument("x"); }, "! -1 Logic error (x)"},
      {[]() -> std::string { throw std::bad_alloc(); }, "! -1 Generic error (std::bad_alloc)"},
      {[]() -> std::string { throw 1; }, "! -1 Unknown error"},
      {[]() -> std::string { return "known"; }, ""},
  };
  for (const auto& [initial, held] : table) {
    const pushed_value<std::string> value("name", initial, hysteresis<std::string>::equal());
    EXPECT_EQ(api_test::failure_of([&] { value.get_filtered(); }), held);
  }
}

}  // namespace
