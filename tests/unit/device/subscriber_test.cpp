#include "device/subscriber.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <atomic>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <thread>

#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/json_conversion.h"
#include "tests/support/failure.h"
#include "tests/support/log_capture.h"

namespace {

using test::failure_of;
using testing::IsEmpty;

/// A clock on which sleeping costs nothing; the test acts at chosen sleeps.
class counted_time : public helpers::time_source {
 public:
  std::chrono::steady_clock::time_point steady_now() override {
    return std::chrono::steady_clock::time_point(slept);
  }
  std::chrono::system_clock::time_point system_now() override { return {}; }
  void sleep(std::chrono::nanoseconds duration) override {
    slept += duration;
    ++sleeps;
    if (at_sleep) at_sleep(sleeps);
  }
  void interrupt() override {}

  std::chrono::nanoseconds slept{0};
  unsigned sleeps = 0;
  std::function<void(unsigned)> at_sleep;
};

/// A client through which the test itself reports to the subscriptions.
class test_client : public nexel_client_api {
 public:
  void server_call(std::shared_ptr<nexel_request>) override {}
  void add_subscriber(std::shared_ptr<nexel_subscriber> added) override {
    ++subscriptions;
    latest = added;
    by_path[added->get_path()] = added;
    added->subscription_requested();
    if (refused.contains(added->get_path())) return fail(*added);
    added->subscription_confirmed();
    if (first_value) report(*first_value);
  }
  std::shared_ptr<nexel_subscriber> at(const std::string& path) { return by_path[path].lock(); }

  void report(const std::string& json) { report(*latest.lock(), json); }
  static void report(nexel_subscriber& to, const std::string& json) {
    to.send_changed_value_event(to.get_path(), nx::parse_json(json));
  }
  static void fail(nexel_subscriber& at, unsigned times = 1) {
    for (; times > 0; --times)
      at.send_exception_event(at.get_path(), {-107, "Not connected", at.get_path()});
  }
  static void miss(nexel_subscriber& at) {
    at.send_exception_event(at.get_path(), {-2, "No such path", at.get_path()});
  }

  std::weak_ptr<nexel_subscriber> latest;
  std::map<std::string, std::weak_ptr<nexel_subscriber>> by_path;
  std::set<std::string> refused;
  unsigned subscriptions = 0;
  std::optional<std::string> first_value = "1.5";
};

struct subscriber_test : testing::Test {
  subscriber_test() { helpers::waiting::instance().set_source(time); }
  ~subscriber_test() override {
    helpers::waiting::instance().set_source(nullptr);
    logger::instance().level = 2;
  }

  /// The callback of a new subscription to the path.
  std::shared_ptr<nexel_subscriber> subscribe(const std::string& path) {
    values.subscribe<float>(client, path);
    return client->latest.lock();
  }

  const std::shared_ptr<counted_time> time = std::make_shared<counted_time>();
  const std::shared_ptr<test_client> client = std::make_shared<test_client>();
  device::subscriber values;
};

TEST_F(subscriber_test, subscribing_waits_for_the_first_value) {
  logger::instance().level = 1;
  const test::log_capture log;
  client->first_value.reset();
  time->at_sleep = [&](unsigned sleeps) {
    if (sleeps == 5) client->report("-12.5");
  };
  values.subscribe<float>(client, "power");
  EXPECT_EQ(values.get<float>("power"), -12.5f);
  EXPECT_TRUE(log.contains("Subscription to path power finished in ~5000 µs"));

  values.subscribe<float>(client, "power");
  EXPECT_EQ(client->subscriptions, 1u) << "a healthy path is left alone";
  EXPECT_EQ(time->sleeps, 5u);
}

TEST_F(subscriber_test, a_value_that_never_comes_ends_the_wait) {
  client->first_value.reset();
  EXPECT_EQ(failure_of([&] { values.subscribe<float>(client, "power"); }),
            "! -22 Failed to subscribe to path: power");
  EXPECT_EQ(time->slept, std::chrono::seconds(1));
  client->report("3");
  values.subscribe<float>(client, "power");
  EXPECT_EQ(client->subscriptions, 1u) << "the subscription was kept";
}

TEST_F(subscriber_test, a_refusal_ends_the_wait_at_once) {
  client->refused = {"power"};
  EXPECT_EQ(failure_of([&] { values.subscribe<float>(client, "power"); }),
            "! -22 Failed to subscribe to path: power");
  EXPECT_EQ(time->sleeps, 0u);

  client->first_value.reset();  // confirmed, but the value is in error for a moment
  time->at_sleep = [&](unsigned sleeps) {
    if (sleeps == 1) client->fail(*client->at("gain"));
    if (sleeps == 3) client->report("20");
  };
  values.subscribe<float>(client, "gain");
  EXPECT_EQ(values.get<float>("gain"), 20.0f);
}

TEST_F(subscriber_test, many_paths_are_waited_for_once) {
  using enum device::value_type;
  client->first_value.reset();
  client->refused = {"ocm/1"};
  const std::vector<device::wanted_path> paths{
      {number, "ocm/1"}, {truth, "peak/1"}, {number, "ocm/2"}, {text, "state"}};
  time->at_sleep = [&](unsigned sleeps) {
    ASSERT_EQ(client->subscriptions, 4u) << "all are out before the first is waited for";
    if (sleeps == 2) client->report(*client->at("peak/1"), "true");
    if (sleeps == 5) client->report(*client->at("state"), R"("up")");
  };
  EXPECT_EQ(values.subscribe_all(client, paths), (std::vector<std::string>{"ocm/1", "ocm/2"}));
  EXPECT_EQ(time->slept, std::chrono::seconds(1)) << "one wait for all";
  EXPECT_TRUE(values.get<bool>("peak/1"));

  client->refused.clear();
  client->first_value = "-5";
  client->report(*client->at("ocm/2"), "-7");
  time->at_sleep = nullptr;
  values.subscribe_each(client, paths);
  EXPECT_EQ(client->subscriptions, 5u) << "only what has failed goes out again";
  EXPECT_EQ(values.get<float>("ocm/1"), -5.0f);
}

TEST_F(subscriber_test, what_no_instrument_tells_is_refused_and_said_once) {
  const test::log_capture log;
  values.subscribe<float>(client, "power", device::reading_kind::channel_power);
  const auto path = client->latest.lock();
  ASSERT_TRUE(values.find_known<float>("power"));
  for (const char* nonsense : {"999", "-99", "60", "1e30"})
    client->report(*path, nonsense);
  EXPECT_EQ(values.get<float>("power"), 1.5f) << "the last good one";
  EXPECT_EQ(values.get_reading<float>("power").arrivals, 1u) << "which grows old";
  EXPECT_FALSE(values.find_known<float>("power"));
  EXPECT_TRUE(values.is_operational()) << "the subscription is as good as ever";
  client->report(*path, "2");
  EXPECT_EQ(values.find_known<float>("power")->value, 2.0f);
  EXPECT_EQ(failure_of([&] { client->report(*path, R"("dark")"); }), "? float, string");
  EXPECT_FALSE(values.find_known<float>("power")) << "text is no reading either";
  EXPECT_EQ(log.count("Guard plausibility begins on device power: 999 is no channel power"), 1);
  EXPECT_EQ(log.count("Guard plausibility"), 2);
}

TEST_F(subscriber_test, a_reading_is_known_while_its_subscription_tells_it) {
  const auto path = subscribe("power");
  EXPECT_TRUE(values.find_known<float>("power"));
  client->fail(*path);
  EXPECT_FALSE(values.find_known<float>("power"));
  client->report(*path, "2");
  EXPECT_TRUE(values.find_known<float>("power"));
  client->first_value.reset();
  client->fail(*path);
  values.request_all(client, {{device::value_type::number, "power"}});
  EXPECT_EQ(values.get<float>("power"), 2.0f);
  EXPECT_FALSE(values.find_known<float>("power")) << "of an earlier subscription";
}

TEST_F(subscriber_test, a_path_fails_from_its_first_error_until_a_value_and_not_if_there_is_none) {
  const device::wanted_path wanted{device::value_type::number, "power",
                                   device::reading_kind::osc_power};
  values.subscribe<float>(client, wanted.path, wanted.kind);
  const auto path = client->latest.lock();
  EXPECT_FALSE(values.failing_since(wanted));
  client->fail(*path);
  const auto first = time->steady_now();
  time->slept += std::chrono::seconds(3);
  client->report(*path, "999");
  EXPECT_EQ(values.failing_since(wanted), first) << "the impossible is no value";
  client->report(*path, "-99");
  EXPECT_FALSE(values.failing_since(wanted)) << "darkness is one";
  client->miss(*path);
  EXPECT_FALSE(values.failing_since(wanted)) << "an older peer does not have it";
}

TEST_F(subscriber_test, a_failure_that_repeats_is_told_once) {
  const test::log_capture log;
  const auto path = subscribe("power");
  client->fail(*path, 5);
  client->report(*path, "2");
  client->fail(*path, 5);
  EXPECT_EQ(log.count("on_exception_received(power): Not connected"), 2);
}

TEST_F(subscriber_test, failed_path_is_repaired_by_subscribing_again) {
  const auto healthy = subscribe("healthy");
  auto broken = subscribe("broken");
  EXPECT_TRUE(values.is_operational());

  client->fail(*broken);
  EXPECT_FALSE(values.is_operational());
  client->report(*broken, "2.5");
  EXPECT_EQ(values.get<float>("broken"), 2.5f);
  EXPECT_FALSE(values.is_operational()) << "values do not repair a path";

  const std::weak_ptr<nexel_subscriber> old = broken;
  broken.reset();
  values.subscribe<float>(client, "healthy");
  values.subscribe<float>(client, "broken");
  EXPECT_TRUE(values.is_operational());
  EXPECT_TRUE(old.expired()) << "the client lets go of the old subscription";
  EXPECT_EQ(client->subscriptions, 3u);
}

TEST_F(subscriber_test, readings_tell_whether_the_device_still_measures) {
  auto first = subscribe("power");
  EXPECT_EQ(values.get_reading<float>("power").changes, 0u) << "may be as old as the device";
  client->report(*first, "1.5");
  client->report(*first, "1.75");
  auto reading = values.get_reading<float>("power");
  EXPECT_EQ(reading.value, 1.75f);
  EXPECT_EQ(reading.arrivals, 3u);
  EXPECT_EQ(reading.changes, 1u);

  client->fail(*first);
  first.reset();
  client->first_value = "1.75";
  values.subscribe<float>(client, "power");
  reading = values.get_reading<float>("power");
  EXPECT_EQ(reading.arrivals, 1u) << "a new subscription, whose first value is of unknown age";
  EXPECT_EQ(reading.changes, 0u);
  client->first_value = "1.5";
  client->fail(*client->latest.lock());
  values.subscribe<float>(client, "power");
  EXPECT_EQ(values.get_reading<float>("power").changes, 1u) << "other than before the failure";
}

TEST_F(subscriber_test, path_is_dropped_after_eleven_failures_in_a_row) {
  const test::log_capture log;
  const auto path = subscribe("power");
  client->fail(*path, 10);
  client->report(*path, "2");  // the count begins anew
  client->fail(*path, 10);
  EXPECT_FALSE(values.is_operational());
  EXPECT_FALSE(values.is_operational());
  EXPECT_FALSE(log.contains("too many exceptions"));
  client->fail(*path);
  EXPECT_FALSE(values.is_operational()) << "this call finds it";
  EXPECT_TRUE(log.contains("Path power has too many exceptions, removing subscription on ."));
  EXPECT_TRUE(values.is_operational()) << "and the next one drops it";
  EXPECT_TRUE(log.contains("Removing dead path: power"));
  EXPECT_EQ(values.get<float>("power"), 2.0f);
}

TEST_F(subscriber_test, ended_subscription_is_dropped_at_the_next_look) {
  const auto path = subscribe("power");
  path->send_subscription_ended_event("power", subscription_ended_rc::removed);
  EXPECT_FALSE(values.take_dropped());
  EXPECT_TRUE(values.is_operational());
  EXPECT_TRUE(values.take_dropped()) << "its owner has to know";
  EXPECT_FALSE(values.take_dropped());
  values.subscribe<float>(client, "power");
  EXPECT_EQ(client->subscriptions, 2u);
}

TEST_F(subscriber_test, callback_may_outlive_the_subscriber) {
  auto short_lived = std::make_unique<device::subscriber>();
  short_lived->subscribe<float>(client, "power");
  const auto path = client->latest.lock();
  short_lived.reset();
  client->report(*path, "2");
  client->fail(*path);
}

TEST_F(subscriber_test, values_arrive_while_the_loops_read) {
  const auto path = subscribe("power");
  std::atomic<bool> done{false};
  std::thread io([&] {
    for (int i = 0; i < 2000; ++i) {
      client->report(*path, std::to_string(i));
      if (i % 500 == 0) path->send_exception_event("power", {-5, "x", "power"});
    }
    done = true;
  });
  while (!done) {
    EXPECT_GE(values.get<float>("power"), 0.0f);
    values.is_operational();
    values.subscribe<float>(client, "other");
    values.unsubscribe("other");
  }
  io.join();
  EXPECT_EQ(values.get<float>("power"), 1999.0f);
}

}  // namespace
