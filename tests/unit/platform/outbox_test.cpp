// Pending output of a session: what is merged, held back and dropped; and the threads behind the
// server.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <latch>
#include <map>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "platform/threads/light_mutex.h"
#include "platform/value_tree/nx_db_node.h"
#include "platform/value_tree/path_pattern.h"
#include "platform/value_tree/server/session_outbox.h"
#include "platform/value_tree/server/worker_pool.h"
#include "platform/value_tree/thread_rank.h"
#include "platform/wire/limits.h"
#include "tests/support/gate.h"

namespace {

auto at(const std::string& path) {
  return testing::Pointee(testing::Property(&nx_db_node::path, path));
}

class outbox : public testing::Test {
 protected:
  bool deliver(const std::string& path, const std::string& line) {
    return box.deliver(make_event(line), box.subscription_number(path));
  }
  /// no_subscription beyond the limit.
  nx_subscription_number number_of(const std::shared_ptr<nx_db_leaf_node>& node,
                                   nx::session_outbox::reach how) {
    std::vector<nx_subscription_number> numbers;
    box.begin({&node, 1}, how, numbers);
    return numbers.empty() ? no_subscription : numbers.front();
  }
  bool begin(const std::string& path, bool exact = true) {
    using enum nx::session_outbox::reach;
    const auto node = std::make_shared<nx_db_event_node>(path);
    return number_of(node, exact ? by_name : by_pattern) != no_subscription;
  }
  void subscribe(const std::string& path) {
    begin(path);
    box.add_answer({});
  }
  // As the sender of a session does it.
  std::string taken(std::size_t enough = 1000000) {
    if (const auto only = box.take_only()) return only->lines;
    std::string out;
    box.take(out, enough);
    return out;
  }
  nx::session_outbox box;
};

TEST_F(outbox, events_of_a_slow_session_are_merged_in_their_place) {
  subscribe("a");
  subscribe("b");
  EXPECT_TRUE(deliver("a", "a1"));
  EXPECT_FALSE(deliver("a", "a2"));  // the sender knows already
  EXPECT_EQ(taken(), "a1\na2\n");
  box.set_slow(true);
  deliver("a", "a3");
  deliver("b", "b1");
  deliver("a", "a4, longer");
  EXPECT_EQ(box.waiting_bytes(), 14U);
  EXPECT_EQ(taken(3), "a4, longer\n");
  deliver("a", "a5");
  deliver("b", "b2");
  EXPECT_EQ(taken(), "b2\na5\n");
  EXPECT_EQ(box.waiting_bytes(), 0U);
}

// Else a client that keeps what came last would keep a value that is no more.
TEST_F(outbox, an_event_does_not_overtake_the_answers_that_are_worked_out) {
  subscribe("a");
  EXPECT_TRUE(deliver("a", "a1"));
  box.keep_place();
  EXPECT_FALSE(deliver("a", "a2"));
  EXPECT_EQ(taken(), "a1\n");
  begin("b");
  deliver("b", "b1");
  box.add_answer("answers");
  EXPECT_EQ(taken(), "answers\na2\nb1\n");
  // Nothing was to be answered.
  box.keep_place();
  deliver("a", "a3");
  EXPECT_TRUE(box.add_answer({}));
  EXPECT_EQ(taken(), "a3\n");
  EXPECT_EQ(box.waiting_bytes(), 0U);
}

TEST_F(outbox, nothing_overtakes_the_answer) {
  begin("a");
  EXPECT_FALSE(deliver("a", "a1"));
  EXPECT_FALSE(deliver("a", "a2"));
  EXPECT_TRUE(box.add_answer("answer"));
  EXPECT_EQ(taken(), "answer\na2\n");
  // Subscribed once more: the newer events follow the second answer.
  begin("a");
  deliver("a", "a3");
  EXPECT_EQ(taken(), "");
  box.end_subscription("a", "removed");
  box.add_answer("answer");
  EXPECT_EQ(taken(),
            "answer\n"
            R"({"jsonrpc":"2.0","method":"ended","params":{"path":"a","reason":"removed"}})"
            "\n");
  deliver("a", "a4");
  EXPECT_EQ(taken(), "");
}

// Lines of many subscriptions at once; what comes for some of them meanwhile stands behind all.
TEST_F(outbox, first_events_are_taken_over_as_lines) {
  const auto subscribe_some = [&](const std::vector<std::string>& paths) {
    std::vector<nx::session_outbox::first_event> events;
    std::string lines;
    box.expect(paths.size());
    for (const auto& path : paths) {
      const auto node = std::make_shared<nx_db_event_node>(path);
      const auto number = number_of(node, nx::session_outbox::reach::expected);
      if (path != "none") events.push_back({number, static_cast<std::uint32_t>(path.size() + 2)});
      if (path != "none") lines += path + "1\n";
    }
    const auto before = box.first_event_bytes();
    const auto more = lines.size();
    box.add_first_events(events, std::move(lines));
    EXPECT_EQ(box.first_event_bytes(), before + more);
  };
  subscribe_some({"a", "none", "b"});
  EXPECT_TRUE(box.add_answer("answer"));
  EXPECT_EQ(taken(), "answer\na1\nb1\n");
  EXPECT_EQ(box.waiting_bytes(), 0U);

  subscribe_some({"c", "none", "given up", "a", "b", "d"});
  subscribe_some({"a"});
  deliver("b", "b2");
  deliver("none", "none2");
  deliver("a", "a2");
  deliver("given up", "2");
  box.remove("given up");
  box.end_subscription("d", "removed");
  deliver("d", "d2");
  box.add_answer("answer");
  EXPECT_EQ(taken(),
            "answer\nc1\na1\nb1\nd1\na1\nnone2\nb2\n"
            R"({"jsonrpc":"2.0","method":"ended","params":{"path":"d","reason":"removed"}})"
            "\na2\n");
  EXPECT_EQ(box.subscriptions(), 4U);
}

// Answers are limited one by one; events alone end a session that does not read them.
TEST_F(outbox, tells_events_from_what_was_asked_for) {
  begin("a");
  deliver("a", "one before");
  deliver("a", "first");
  EXPECT_EQ(box.first_event_bytes(), 6U);
  box.add_answer("answer");
  EXPECT_EQ(box.first_event_bytes(), 0U);
  EXPECT_EQ(box.waiting_bytes(), 13U);
  EXPECT_EQ(box.waiting_event_bytes(), 0U);
  deliver("a", "a1");
  EXPECT_EQ(box.waiting_event_bytes(), 3U);
  EXPECT_EQ(taken(7), "answer\n");
  EXPECT_EQ(taken(), "first\na1\n");
  EXPECT_EQ(box.waiting_event_bytes(), 0U);
}

TEST_F(outbox, ended_subscriptions_leave_nothing_behind) {
  subscribe("a/1");
  box.add_pattern("a/*");
  begin("a/2", false);
  box.add_answer({});
  deliver("a/1", "1");
  deliver("a/2", "2");
  EXPECT_TRUE(box.remove("a/1").empty());  // the pattern covers it
  EXPECT_THAT(box.remove("a/*"), testing::UnorderedElementsAre(at("a/1"), at("a/2")));
  EXPECT_EQ(taken(), "");
  EXPECT_FALSE(box.covered_by_pattern("a/3"));
}

TEST_F(outbox, subscriptions_are_limited) {
  box.add_pattern("x/*");
  for (std::size_t i = 1; i < nx::limits::subscriptions_per_session; ++i) {
    ASSERT_TRUE(begin(fmt::format("a/{}", i)));
  }
  EXPECT_FALSE(begin("one/more"));
  EXPECT_TRUE(begin("a/1"));
  EXPECT_FALSE(box.add_pattern("y/*"));
  // A pattern that found no room takes back what it brought, and nothing else.
  box.remove("a/2");
  ASSERT_TRUE(box.add_pattern("a/*"));
  EXPECT_TRUE(box.withdraw("a/*").empty());
  EXPECT_TRUE(box.is_subscribed("a/1"));
  ASSERT_TRUE(begin("z", false));
  EXPECT_THAT(box.withdraw("*"), testing::ElementsAre(at("z")));
  box.remove("a/1");
  EXPECT_TRUE(begin("one/more"));
}

TEST_F(outbox, patterns_cover_what_they_match_and_are_limited_in_bytes) {
  const std::vector<std::string> patterns{"*",    "a/*/c", "a/**",   "*/b/c",  "*/*/*",
                                          "a/b*", "**",    "a/*/**", "a-/b/*", "a/b/c/*",
                                          "*/**", "**/b",  "a//*",   "/*",     "*/"};
  const std::vector<std::string> paths{"a",      "b",       "a/b",   "a/b/c",
                                       "a-/b/c", "a/b/c/d", "d/b/c", "b/b"};
  // With any two of them.
  for (const auto& one : patterns) {
    for (const auto& other : patterns) {
      ASSERT_TRUE(box.add_pattern(one) && box.add_pattern(other));
      for (const auto& path : paths) {
        EXPECT_EQ(box.covered_by_pattern(path),
                  nx::path_matches(one, path) || nx::path_matches(other, path))
            << one << ' ' << other << ' ' << path;
      }
      box.withdraw(one + '*');  // not there
      box.withdraw(one);
      box.withdraw(other);
    }
  }
  EXPECT_FALSE(box.covered_by_pattern("a/b/c"));
  EXPECT_FALSE(nx::path_matches("a/*", "a/")) << "a segment has a name";
  const std::string long_one = std::string(nx::limits::pattern_bytes_per_session - 2, 'x') + "/*";
  EXPECT_TRUE(box.add_pattern(long_one));
  EXPECT_FALSE(box.add_pattern("*"));
  box.remove(long_one);
  EXPECT_TRUE(box.add_pattern("*"));
}

TEST(worker_pool, grows_while_its_threads_wait_and_shrinks_back) {
  test::gate door;
  std::atomic<int> done{0};
  nx::worker_pool::settings how;
  how.standstill = std::chrono::milliseconds(4);
  how.rest = std::chrono::milliseconds(20);
  nx::worker_pool pool(how);
  for (int i = 0; i < 30; ++i) {
    pool.post([&] {
      door.pass();
      ++done;
    });
  }
  door.wait_for_arrivals(30);
  door.open();
  while (pool.threads() > how.usual_threads)
    std::this_thread::yield();
  EXPECT_EQ(done, 30);
}

// Work that takes its time is done by few, and in the end what it took is given back, once.
TEST(worker_pool, gets_no_threads_for_work_that_goes_on) {
  std::atomic<int> side_by_side{0};
  std::atomic<int> most{0};
  std::atomic<int> done{0};
  std::atomic<int> rests{0};
  nx::worker_pool::settings how;
  how.usual_threads = 1;
  how.standstill = std::chrono::seconds(60);
  how.rest = std::chrono::milliseconds(5);
  how.at_rest = [&] { ++rests; };
  nx::worker_pool pool(how);
  constexpr int jobs = 200;
  for (int i = 0; i < jobs; ++i) {
    pool.post([&] {
      most = std::max(most.load(), ++side_by_side);
      std::this_thread::yield();
      --side_by_side;
      ++done;
    });
  }
  while (done < jobs || rests == 0)
    std::this_thread::yield();
  EXPECT_EQ(most, 1);
  EXPECT_LE(pool.threads(), 2U);
}

// Of the calling thread, as the kernel tells it; always 0 before Linux 6.12.
std::uint64_t time_slice() {
  std::array<std::uint64_t, 7> attributes{};
  constexpr std::size_t runtime = 3;
  ::syscall(SYS_sched_getattr, 0, attributes.data(), sizeof(attributes), 0);
  return attributes[runtime];
}

TEST(thread_rank, lets_the_loops_interrupt_clients_and_large_answers) {
  using enum nx::thread_rank;
  const auto of_thread = [](nx::thread_rank rank) {
    std::uint64_t found = 0;
    std::thread([&] {
      nx::take_rank("a thread", rank);
      found = time_slice();
    }).join();
    return found;
  };
  const auto usual = time_slice();
  const bool kernel_has_slices = usual != 0;
  EXPECT_EQ(of_thread(loops) < of_thread(serving), kernel_has_slices);
  EXPECT_EQ(of_thread(serving) < usual, kernel_has_slices);
  std::thread([&] {
    nx::take_rank("a loop", loops);
    EXPECT_EQ(of_thread(background), usual) << "it is not inherited";
  }).join();
}

TEST(light_mutex, lets_one_in_and_wakes_who_waits) {
  constexpr int rounds = 20000;
  nx::light_mutex mutex;
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < rounds; ++round) {
        const std::lock_guard lock(mutex);
        if (++count % 64 == 0) std::this_thread::yield();
        EXPECT_FALSE(mutex.try_lock());
      }
    });
  }
  for (auto& each : threads)
    each.join();
  EXPECT_EQ(count, 4 * rounds);
}

TEST(subscription_slots, find_each_path_by_its_newest_number) {
  nx::subscription_slots slots;
  std::map<std::string, nx_subscription_number> expected;
  slots.order_later();
  slots.reserve(100);
  for (int i = 0; i < 100; ++i) {
    const auto path = "data/" + std::to_string(i);
    expected[path] = slots.add(std::make_shared<nx_db_event_node>(path));
  }
  std::mt19937 random(7);
  nx_subscription_number ended = no_subscription;
  for (int step = 0; step < 20000; ++step) {
    const auto path = "data/" + std::to_string(random() % 300);
    const auto known = expected.find(path);
    ASSERT_EQ(slots.find(path), known == expected.end() ? no_subscription : known->second);
    if (known == expected.end()) {
      expected[path] = slots.add(std::make_shared<nx_db_event_node>(path));
    } else {
      ended = known->second;
      slots.erase(ended);
      expected.erase(known);
    }
    EXPECT_EQ(slots.find(ended), nullptr);
  }
  EXPECT_EQ(slots.size(), expected.size());
  for (const auto& node : slots.nodes())
    EXPECT_EQ(expected.count(node->path()), 1U);
}

}  // namespace
