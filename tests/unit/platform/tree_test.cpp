// The tree itself, without sockets and threads.
#include <gtest/gtest.h>

#include "platform/value_tree/value_group.h"
#include "tests/support/failure.h"
#include "tests/support/nodes.h"
#include "tests/support/recording_session.h"
#include "tests/support/tree_values.h"

namespace {

using names = std::vector<std::string>;
using test::failure_of;
using test::value_node;

std::chrono::system_clock::time_point at_ms(long ms) {
  return std::chrono::system_clock::time_point(std::chrono::milliseconds(ms));
}

class tree : public testing::Test {
 protected:
  tree() {
    db.set_clock([this] { return at_ms(now_ms); });
  }

  names matched(const std::string& pattern) {
    names found;
    for (const auto& node : db.match(pattern))
      found.push_back(node->get_path(0));
    return found;
  }

  std::string subscribe(const std::string& path) { return test::subscribe_to(db, path, session); }

  long now_ms = 1769860800123;
  std::shared_ptr<nx::manual_poller> poller = std::make_shared<nx::manual_poller>();
  nx_db db{poller};
  const std::shared_ptr<test::recording_session> session =
      std::make_shared<test::recording_session>();
};

TEST_F(tree, patterns_match_in_the_order_of_the_paths) {
  // '-' sorts before '/', so the order of full paths is not the one of the levels' names.
  for (const char* path :
       {"data/client/2/rx/power", "data/client/1/rx/power", "data/client-x/rx",
        "data/client/1/tx/power", "data/name", "alarms/a/b", "data/client/1/rx/gain"}) {
    value_node::create(db, path, "1");
  }
  const std::pair<const char*, names> rows[] = {
      {"data/client/*/rx/power", {"data/client/1/rx/power", "data/client/2/rx/power"}},
      {"data/*", {"data/name"}},
      {"*/*", {"data/name"}},
      {"data/*/rx", {"data/client-x/rx"}},
      {"alarms/**", {"alarms/a/b"}},
      {"data/client/1/**",
       {"data/client/1/rx/gain", "data/client/1/rx/power", "data/client/1/tx/power"}},
      {"data/client/**/power", {}},
      {"data/cl*/rx", {}},
      {"data/name/*", {}},
      {"", {}},
  };
  for (const auto& [pattern, expected] : rows) {
    EXPECT_EQ(matched(pattern), expected) << pattern;
    for (const auto& path : matched("**")) {
      const bool listed = std::count(expected.begin(), expected.end(), path) > 0;
      EXPECT_EQ(nx_db::matches(pattern, path), listed) << pattern << ' ' << path;
    }
  }
  auto all = matched("**");
  EXPECT_EQ(all.size(), 7U);
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
  EXPECT_EQ(db.list("", true), all);
}

TEST_F(tree, lists_levels_and_forgets_empty_ones) {
  value_node::create(db, "a/b/c", "1");
  value_node::create(db, "a/b-c", "1");
  EXPECT_EQ(db.list("", false), names{"a/"});
  EXPECT_EQ(db.list("a", false), (names{"b-c", "b/"}));
  EXPECT_TRUE(db.list("a/b-c", false).empty());
  EXPECT_EQ(failure_of([&] { db.list("a/x", false); }), "! -2 No such path: a/x");
  EXPECT_TRUE(db.remove_node("a/b/c"));
  EXPECT_FALSE(db.remove_node("a/b/c"));
  EXPECT_EQ(db.list("a", false), names{"b-c"});
}

TEST_F(tree, refuses_paths_that_cannot_be) {
  value_node::create(db, "a/b/c", "1");
  const std::pair<const char*, const char*> table[] = {
      {"a/b", "! -22 Nodes stand below the path: a/b"},
      {"a/b/c/d", "! -22 A node stands above the path: a/b/c/d"},
      {"a//b", "! -22 Empty segment in path: a//b"},
      {"", "! -22 Empty segment in path: "},
      {"a/x*", "! -22 '*' or a control character in path: a/x*"},
      {"a/x\n", "! -22 '*' or a control character in path: a/x\n"},
  };
  for (const auto& [path, refusal] : table)
    EXPECT_EQ(failure_of([&, path = path] { value_node::create(db, path, "1"); }), refusal);
  EXPECT_EQ(db.list("", true), names{"a/b/c"});
}

// It looks for its subscriptions at the node that is still in the tree, while they are on their way
// to the next.
TEST_F(tree, a_session_that_closes_while_its_node_is_replaced_stays_nowhere) {
  struct leaving_session : test::recording_session {
    bool is_closed() const override { return closed; }
    bool closed = false;
  };
  struct slow_successor : value_node {
    using value_node::value_node;
    void subscribe(std::shared_ptr<nx_session> who, const std::string& path,
                   json_allocator& allocator, json_value& result,
                   std::unique_lock<std::recursive_mutex>& lock) override {
      value_node::subscribe(who, path, allocator, result, lock);
      leaver->closed = true;
      std::static_pointer_cast<value_node>(db->find(path))->unsubscribe(who);
    }
    std::shared_ptr<leaving_session> leaver;
  };
  value_node::create(db, "a/b", "1");
  auto leaver = std::make_shared<leaving_session>();
  test::subscribe_to(db, "a/b", leaver);
  const auto successor = std::make_shared<slow_successor>("b", "7");
  successor->leaver = leaver;
  db.add_node("a", successor);
  successor->leaver.reset();
  EXPECT_EQ(leaver.use_count(), 1) << "the node holds a session that is over";
}

TEST_F(tree, a_replaced_node_hands_its_subscribers_on) {
  const auto old = value_node::create(db, "a/b", "1");
  EXPECT_EQ(subscribe("a/b"), "1");
  old->update("2");
  EXPECT_EQ(session->take(), (names{"first a/b = 1", "a/b = 2"}));
  const auto group = nx::api::value_group::create(1);
  group->add_value(old, 1);

  // Nobody can hold the successor's mutex while the subscribers come: it cannot be reached yet,
  // also for one that comes while the others move.
  struct unreachable_value : value_node {
    using value_node::value_node;
    void subscribe(std::shared_ptr<nx_session> who, const std::string& path,
                   json_allocator& allocator, json_value& result,
                   std::unique_lock<std::recursive_mutex>& lock) override {
      EXPECT_NE(db->find(path), shared_from_this());
      if (const auto other = std::exchange(late, nullptr)) test::subscribe_to(*db, path, other);
      value_node::subscribe(std::move(who), path, allocator, result, lock);
    }
    std::shared_ptr<nx_session> late;
  };
  const auto late = std::make_shared<test::recording_session>();
  const auto successor = std::make_shared<unreachable_value>("b", "7");
  successor->late = late;
  db.add_node("a", successor);
  EXPECT_EQ(session->take(), names{"first a/b = 7"});
  EXPECT_EQ(late->take(), (names{"first a/b = 2", "first a/b = 7"}));
  old->update("3");
  EXPECT_TRUE(session->take().empty());
  successor->fail({-61, "broken"});
  EXPECT_EQ(session->take(), names{"a/b ! -61 broken"});
  poller->advance(std::chrono::seconds(5));
  EXPECT_EQ(old->polls, 0);
  // What the old node still says is not the history of the path.
  ASSERT_EQ(db.history("a/b").size(), 1U);
  EXPECT_EQ(db.history("a/b")[0].value, "2");

  // A successor that cannot be subscribed ends the subscription.
  test::read_node::create(db, "a/b", [] { return "text"; });
  EXPECT_EQ(session->take(), names{"a/b ended removed"});
}

TEST_F(tree, a_removed_node_ends_its_subscriptions) {
  const auto node = value_node::create(db, "a", "1");
  subscribe("a");
  session->take();
  db.remove_node("a");
  EXPECT_EQ(session->take(), names{"a ended removed"});
  node->update("2");
  EXPECT_TRUE(session->take().empty());
  EXPECT_EQ(subscribe("a"), "! -2 No such path: a");
  EXPECT_EQ(failure_of([&] { db.history("a"); }), "! -2 No such path: a");
  db.add_node("", node);
  EXPECT_EQ(subscribe("a"), "2");
}

TEST_F(tree, history_keeps_the_newest_values) {
  const auto node = value_node::create(db, "a", "0");
  for (int i = 1; i <= 40; ++i) {
    ++now_ms;
    node->update(std::to_string(i));
  }
  const auto entries = db.history("a");
  ASSERT_EQ(entries.size(), nx_db::history_depth);
  EXPECT_EQ(entries.front().value, "9");
  EXPECT_EQ(entries.back().value, "40");
  EXPECT_EQ(entries.back().time, at_ms(now_ms));
  EXPECT_EQ(entries.back().time - entries.front().time, std::chrono::milliseconds(31));
}

TEST_F(tree, groups_poll_by_interval_until_they_are_dropped) {
  auto group = nx::api::value_group::create(1);
  const auto never = value_node::create(db, "never", "1");
  const auto often = value_node::create(db, "often", "1");
  const auto seldom = value_node::create(db, "seldom", "1");
  group->add_value(never, 0);
  group->add_value(often, 1);
  group->add_value(seldom, 3);
  for (int i = 0; i < 70; ++i)
    poller->advance(std::chrono::milliseconds(100));
  EXPECT_EQ(never->polls, 0);
  EXPECT_EQ(often->polls, 7);
  EXPECT_EQ(seldom->polls, 2);
  EXPECT_EQ(seldom->poll_interval, 3U);
  group.reset();
  poller->advance(std::chrono::seconds(10));
  EXPECT_EQ(often->polls, 7);
}

TEST(tree_end, nodes_outlive_their_tree) {
  auto db = std::make_unique<nx_db>();
  const auto node = value_node::create(*db, "a", "1");
  db.reset();
  node->update("2");
}

}  // namespace
