// Many subscriptions at once, written as text: the same values and first events as one by one.
#include "platform/value_tree/server/subscribing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/config_param.h"
#include "api/hysteresis_filtered_value.h"
#include "api/lazy_value.h"
#include "api/status_value.h"
#include "tests/support/nodes.h"
#include "tree.h"

namespace {

using namespace nx::api;
using nx::session_outbox;
using nx::subscribing;
using testing::IsEmpty;

struct owner {
  void set_offset(float) {}
  reading<float> loss() { return nx_error(-61, "No \"light\""); }
  float level() { return 1.5f; }
};

/// Delivers into an outbox, as the server's sessions do.
struct boxed_session : nx_session {
  nx_subscription_number subscription_number(const std::string& path) const override {
    return box.subscription_number(path);
  }
  void deliver(nx_event_ptr event, nx_subscription_number subscription, bool) override {
    box.deliver(std::move(event), subscription);
  }
  void subscription_ended(const std::string& path, const std::string& reason) override {
    box.end_subscription(path, reason);
  }
  session_outbox box;
};

/// Something happens while it is subscribed to.
struct eventful_node : nx_db_event_node {
  explicit eventful_node(const std::string& name) : nx_db_event_node(name) {}
  first_value subscribe_text(const std::shared_ptr<nx_session>& session,
                             nx_subscription_number number, first_text& first) override {
    before();
    begin_text(session, number, first);
    first.json = "\"here\"";
    after();
    return first_value::value;
  }
  std::function<void()> before = [] {};
  std::function<void()> after = [] {};
};

class subscribing_test : public testing::Test {
 protected:
  subscribing_test() {
    tree.db.set_clock([] { return std::chrono::system_clock::time_point{}; });
  }

  /// The members of the answer.
  std::string subscribe(const std::vector<std::string>& paths,
                        session_outbox::reach how = session_outbox::reach::expected) {
    std::vector<subscribing::node_pointer> nodes;
    for (const auto& path : paths)
      nodes.push_back(tree.db.find(path));
    std::unique_lock lock(mutex);
    std::string members;
    session->box.expect(nodes.size());
    subscribing work(tree.db, session->box, session, lock, documents.GetAllocator(), members);
    work.begin(nodes, how);
    return members;
  }

  std::string events() {
    session->box.add_answer({});
    std::string lines;
    session->box.take(lines, 1'000'000);
    return lines;
  }

  static std::string line(const std::string& path, const std::string& what) {
    return R"({"jsonrpc":"2.0","method":"event","params":{"path":")" + path +
           R"(","time":"1970-01-01T00:00:00.000Z",)" + what + "}}\n";
  }

  api_test::tree tree;
  const std::shared_ptr<boxed_session> session = std::make_shared<boxed_session>();
  std::recursive_mutex mutex;
  nx::json_document documents;
};

TEST_F(subscribing_test, tells_each_kind_of_value_as_a_single_subscription_does) {
  const auto held = std::make_shared<owner>();
  status_value<std::string>::create(tree.db, "text", "a \"b\"", 1);
  config_param<&owner::set_offset>::create(tree.db, "unset", std::nullopt, held);
  config_param<&owner::set_offset>::create(tree.db, "set", 2.5f, held);
  pushed_value<float>::create(tree.db, "pushed", 0.5, 0.1)->update(-3.25f);
  pushed_value<float>::create(tree.db, "silent", 0.5, 0.1);
  lazy_value<&owner::loss>::create(tree.db, "loss", held);
  lazy_value<&owner::level>::create(tree.db, "level", held);
  test::value_node::create(tree.db, "document", R"({"by":["itself"]})");
  const std::vector<std::string> paths{"text",   "unset", "set",   "pushed",
                                       "silent", "loss",  "level", "document"};
  const auto members = subscribe(paths);
  const auto first = events();
  for (const auto& path : paths) {
    const auto watcher = std::make_shared<api_test::session>();
    auto value = tree.subscribe(path, watcher);
    if (value.starts_with(R"({"code")")) value = R"({"error":)" + value + '}';
    EXPECT_THAT(members, testing::HasSubstr('"' + path + "\":" + value + ',')) << path;
    EXPECT_EQ(watcher->take().size(), first.find('"' + path + "\",\"time") != first.npos);
  }
  EXPECT_EQ(first,
            line("text", R"("value":"a \"b\"")") + line("set", R"("value":2.5)") +
                line("pushed", R"("value":-3.25)") +
                line("silent", R"("error":{"code":-61,"message":"Value has not been set"})") +
                line("loss", R"("error":{"code":-61,"message":"No \"light\""})") +
                line("level", R"("value":1.5)") + line("document", R"("value":{"by":["itself"]})"));
}

TEST_F(subscribing_test, follows_a_node_that_is_replaced_or_removed_meanwhile) {
  const auto one = test::add_node<eventful_node>(tree.db, "one");
  const auto two = test::add_node<eventful_node>(tree.db, "two");
  const auto three = test::add_node<eventful_node>(tree.db, "three");
  const auto successor = std::make_shared<status_value<float>>("one", 7.0f, 0);
  one->before = [&] { tree.db.add_node("", successor); };
  two->before = [&] { tree.db.remove_node("two"); };
  three->after = [&] { three->publish_text("\"later\""); };
  EXPECT_EQ(subscribe({"one", "two", "three"}), R"("three":"here","one":7,)");
  EXPECT_EQ(events(), line("three", R"("value":"here")") + line("one", R"("value":7)") +
                          line("three", R"("value":"later")"));
  EXPECT_FALSE(one->has_subscribers());
  EXPECT_FALSE(two->has_subscribers());
  successor->update(8.0f);
  EXPECT_EQ(events(), line("one", R"("value":8)"));
  EXPECT_EQ(session->box.subscriptions(), 2U);
}

TEST_F(subscribing_test, leaves_out_what_fails_under_a_pattern_and_tells_it_by_name) {
  const auto node = test::add_node<eventful_node>(tree.db, "node");
  status_value<float>::create(tree.db, "power", 1.0f, 1);
  node->after = [] { throw nx_error(-5, "Broken"); };
  EXPECT_EQ(subscribe({"node", "power"}), R"("power":1,)");
  EXPECT_EQ(events(), line("power", R"("value":1)"));
  EXPECT_EQ(api_test::failure_of([&] { subscribe({"node"}, session_outbox::reach::by_name); }),
            "! -5 Broken");
  EXPECT_FALSE(node->has_subscribers());
  EXPECT_EQ(session->box.subscriptions(), 1U);
  EXPECT_THAT(events(), IsEmpty());
}

}  // namespace
