#include "device/subscriber.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <atomic>
#include <functional>
#include <optional>
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
  std::chrono::steady_clock::time_point steady_now() override { return {}; }
  std::chrono::system_clock::time_point system_now() override { return {}; }
  void sleep(std::chrono::nanoseconds) override {
    ++sleeps;
    if (at_sleep) at_sleep(sleeps);
  }
  void interrupt() override {}

  unsigned sleeps = 0;
  std::function<void(unsigned)> at_sleep;
};

/// A client in whose place the test reports to the subscriptions.
class test_client : public nexel_client_api {
 public:
  void server_call(std::shared_ptr<nexel_request>) override {}
  void add_subscriber(std::shared_ptr<nexel_subscriber> added) override {
    ++subscriptions;
    latest = added;
    if (first_value) report(*first_value);
  }

  void report(const std::string& json) { report(*latest.lock(), json); }
  static void report(nexel_subscriber& to, const std::string& json) {
    to.send_changed_value_event(to.get_path(), nx::parse_json(json));
  }
  static void fail(nexel_subscriber& at, unsigned times = 1) {
    for (; times > 0; --times)
      at.send_exception_event(at.get_path(), {-107, "Not connected", at.get_path()});
  }

  std::weak_ptr<nexel_subscriber> latest;
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
  EXPECT_TRUE(log.contains("Subscription to path power finished in ~5 µs"));

  values.subscribe<float>(client, "power");
  EXPECT_EQ(client->subscriptions, 1u) << "a healthy path is left alone";
  EXPECT_EQ(time->sleeps, 6u);
}

TEST_F(subscriber_test, a_value_that_never_comes_ends_the_wait) {
  client->first_value.reset();
  EXPECT_EQ(failure_of([&] { values.subscribe<float>(client, "power"); }),
            "! -22 Failed to subscribe to path: power");
  EXPECT_EQ(time->sleeps, 1'000'000u);
  client->report("3");
  values.subscribe<float>(client, "power");
  EXPECT_EQ(client->subscriptions, 1u) << "the subscription was kept";
}

TEST_F(subscriber_test, the_end_of_the_process_ends_the_wait) {
  client->first_value.reset();
  time->at_sleep = [](unsigned sleeps) {
    if (sleeps == 3) helpers::waiting::instance().stop();
  };
  EXPECT_EQ(failure_of([&] { values.subscribe<float>(client, "power"); }),
            "! -22 Failed to subscribe to path: power");
  EXPECT_LE(time->sleeps, 4u);
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
