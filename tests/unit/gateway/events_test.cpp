// A page's view of the tree: present values, changes, a daemon that goes and comes back, and what
// was missed meanwhile.
#include <atomic>

#include "tests/support/log_capture.h"
#include "tests/unit/gateway/gateway_fixture.h"

namespace {

using namespace std::chrono_literals;
using test::value_node;
using testing::HasSubstr;
using testing::Not;

/// Whether an event of the path tells the value.
bool tells(const std::string& text, const std::string& path, const std::string& value) {
  const auto begin = fmt::format(R"(data: {{"path":"{}",)", path);
  for (auto at = text.find(begin); at != text.npos; at = text.find(begin, at + 1)) {
    const auto line = text.substr(at, text.find('\n', at) - at);
    if (line.find("\"value\":" + value + "}") != line.npos) return true;
  }
  return false;
}

class events : public gateway_test {
 protected:
  std::unique_ptr<http_client> watch(const std::string& query, const std::string& headers = {}) {
    auto client = connect();
    client->send(get("/api/v1/events?" + query, headers));
    return client;
  }
  std::shared_ptr<value_node> power = value_node::create(db, "data/client/1/rx/power", "-3.5");
  std::shared_ptr<value_node> log = value_node::create(db, "insight/log", R"("first")");
};

TEST_F(events, present_values_then_changes_and_paths_that_come_later) {
  serve_tree();
  start();
  const auto page = watch("path=data/**&path=insight/log");
  page->read_until(R"("value":"first")");
  EXPECT_TRUE(tells(page->read_until("-3.5"), "data/client/1/rx/power", "-3.5"));
  EXPECT_THAT(page->read_until("up"), HasSubstr("event: link\ndata: {\"up\":true"));
  power->update("-4");
  page->read_until("\"value\":-4}");
  power->fail({-61, "dark \"and\" silent"});
  page->read_until(R"("error":{"code":-61,"message":"dark \"and\" silent"}})");
  value_node::create(db, "data/late", "\"<script>\"");
  EXPECT_TRUE(tells(page->read_until("<script>"), "data/late", "\"<script>\""));
  // Of a journal each event counts, however quickly they come.
  for (int i = 0; i < 50; ++i)
    log->update(fmt::format("\"entry {}\"", i));
  page->read_until("entry 49");
  for (int i = 0; i < 50; ++i)
    EXPECT_TRUE(tells(page->read_until("entry 49"), "insight/log", fmt::format("\"entry {}\"", i)));
}

TEST_F(events, many_pages_cost_the_tree_one_session_and_each_is_told_all) {
  serve_tree();
  start();
  std::vector<std::unique_ptr<http_client>> pages;
  for (int i = 0; i < 20; ++i)
    pages.push_back(watch("path=data/**"));
  for (const auto& page : pages)
    page->read_until("-3.5");
  power->update("17");
  for (const auto& page : pages)
    page->read_until("\"value\":17}");
  EXPECT_TRUE(power->has_subscribers());
  pages.clear();
  const auto end = std::chrono::steady_clock::now() + test_patience;
  while (power->has_subscribers() && std::chrono::steady_clock::now() < end)
    std::this_thread::sleep_for(5ms);
  EXPECT_FALSE(power->has_subscribers()) << "the last page has gone, the subscription stays";
}

TEST_F(events, a_daemon_that_goes_is_told_and_its_values_come_anew) {
  start();
  const auto page = watch("path=data/**");
  page->read_until(R"({"up":false)");
  serve_tree();
  page->read_until("-3.5");
  server.reset();
  page->read_until(R"({"up":false)", page->size());
  EXPECT_THAT(ask(get("/api/v1/values?path=data/**")), HasSubstr("503 "));
  power->update("5");
  const auto before = page->size();
  serve_tree();
  EXPECT_TRUE(tells(page->read_until("\"value\":5}", before), "data/client/1/rx/power", "5"));
}

TEST_F(events, a_daemon_that_hangs_is_lost_though_its_socket_is_there) {
  bounds.tree_silence = 20ms;
  bounds.tree_answer = 2s;
  const auto probes = std::make_shared<std::atomic<int>>(0);
  test::read_node::create(db, "data/product", [probes] { return std::to_string(++*probes); });
  serve_tree();
  start();
  ask_until(get("/api/v1/values?path=data/**"), "200 OK");
  const auto page = watch("path=data/**");
  for (const int before = *probes; *probes < before + 5;)
    std::this_thread::yield();
  EXPECT_THAT(page->read_until("-3.5"), Not(HasSubstr(R"("up":false)"))) << "silence is no loss";
  server->set_fault(nx::server_fault::hung);
  page->read_until(R"({"up":false)");
  EXPECT_THAT(ask(get("/api/v1/values?path=data/**")), HasSubstr("503 "));
  EXPECT_THAT(ask(get("/metrics")), HasSubstr("lumora_up{"));
  server->set_fault(nx::server_fault::none);
  const auto before = page->size();
  page->read_until(R"({"up":true)", before);
  EXPECT_TRUE(tells(page->read_until("-3.5", before), "data/client/1/rx/power", "-3.5"));
}

TEST_F(events, who_comes_back_is_told_what_the_history_has_of_the_time_between) {
  serve_tree();
  start();
  auto page = watch("path=insight/log");
  const auto text = page->read_until("first");
  const auto id = text.substr(text.rfind("id: ") + 4, 24);
  page.reset();
  std::this_thread::sleep_for(2ms);  // the history tells milliseconds
  for (const char* entry : {"\"missed 1\"", "\"missed 2\"", "\"present\""})
    log->update(entry);
  page = watch("path=insight/log", "Last-Event-ID: " + id + "\r\n");
  EXPECT_TRUE(tells(page->read_until("present"), "insight/log", "\"missed 1\""));
  EXPECT_TRUE(tells(page->read_until("present"), "insight/log", "\"missed 2\""));
  EXPECT_FALSE(tells(page->read_until("present"), "insight/log", "\"first\""));
}

TEST_F(events, a_client_that_does_not_read_is_closed_and_others_are_not_held_up) {
  const test::log_capture records;
  bounds.stuck_time = 300ms;
  std::vector<std::shared_ptr<value_node>> large;
  for (int i = 0; i < 60; ++i) {
    large.push_back(
        value_node::create(db, fmt::format("large/{}", i), '"' + std::string(50'000, 'x') + '"'));
  }
  serve_tree();
  start();
  const auto deaf = connect(4096);
  deaf->send(get("/api/v1/events?path=large/*"));
  const auto page = watch("path=data/**");
  page->read_until("-3.5");
  power->update("6");
  page->read_until("\"value\":6}");
  EXPECT_TRUE(records.comes("Closed an event stream whose client does not read"));
  EXPECT_LT(deaf->read_all().size(), 60u * 50'000u) << "it was served to the end";
}

TEST_F(events, what_a_page_plots_is_kept_for_ten_minutes_by_the_gateway) {
  std::atomic<std::int64_t> minutes{0};
  const auto begin = std::chrono::system_clock::now();
  bounds.now = [&] { return begin + std::chrono::minutes(minutes); };
  const auto measured = value_node::create(db, "insight/client/1/rx/measured", "-3.5");
  serve_tree();
  start();
  const auto page = watch("path=insight/client/1/rx/measured");
  const std::string address = "/api/v1/history?path=insight/client/1/rx/measured";
  ask_until(get(address), "\"value\":-3.5}");
  const auto tell = [&](std::int64_t at, const std::string& value) {
    minutes = at;
    measured->update(value);
    page->read_until("\"value\":" + value + '}');
  };
  tell(4, "-4");
  measured->fail({-61, "dark"});
  page->read_until("dark");
  tell(8, "-5");
  EXPECT_THAT(ask_until(get(address), "-5}"), testing::ContainsRegex("-3.5}.*-4}.*null}.*-5}]"));
  tell(15, "-6");
  const auto later = ask_until(get(address), "-6}");
  EXPECT_THAT(later, Not(HasSubstr("-3.5")));
  EXPECT_THAT(later, testing::ContainsRegex("null}.*-5}.*-6}]"))
      << "what held at the beginning of the ten minutes is kept";
  server.reset();
  EXPECT_THAT(ask_until(get(address), "-6},{"), testing::ContainsRegex("-6}.*null}]"))
      << "a daemon that is lost is a gap, and what led to it is told";
}

TEST_F(events, streams_and_patterns_beyond_their_limits_are_told_so) {
  bounds.event_streams = 5;
  serve_tree();
  start();
  std::vector<std::unique_ptr<http_client>> pages;
  std::string refused;
  // Some of the 64 patterns are those of the gateway's own record.
  for (int i = 0; i < 64 && refused.empty(); i += 16) {
    std::string query = fmt::format("path=none/{}", i);
    for (int more = 1; more < 16; ++more)
      query += fmt::format("&path=none/{}", i + more);
    pages.push_back(watch(query));
    const auto& told = pages.back()->read_until("\r\n\r\n");
    if (told.find("503 ") != told.npos) refused = pages.back()->read_until("watched");
  }
  EXPECT_THAT(refused, HasSubstr("More than 64 different patterns are watched"));
  ASSERT_EQ(pages.size(), 4u) << "of which the last one is no stream";
  for (int i = 0; i < 2; ++i) {
    pages.push_back(watch("path=data/**"));
    pages.back()->read_until("-3.5");
  }
  EXPECT_THAT(watch("path=data/**")->read_until("streams"), HasSubstr("More than 5 event streams"));
}

TEST_F(events, a_heartbeat_comes_while_nothing_changes) {
  bounds.heartbeat = 20ms;
  serve_tree();
  start();
  watch("path=data/**")->read_until(": heartbeat\n\n");
}

/// How often somebody wanted to subscribe to it.
struct asked_node : value_node {
  using value_node::value_node;
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 nx::json_allocator& allocator, nx::json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override {
    value_node::subscribe(std::move(session), path, allocator, result, lock);
    ++asked;
  }
  std::atomic<unsigned> asked{0};
};

TEST_F(events, a_pattern_of_more_than_an_answer_may_have_is_tried_ever_more_seldom) {
  bounds.tree_retry = 50ms;
  const auto counted = test::add_node<asked_node>(db, "large/counted", "1");
  for (int i = 0; i < 200; ++i)
    value_node::create(db, fmt::format("large/part/{}", i), '"' + std::string(50'000, 'x') + '"');
  serve_tree();
  start();
  const auto begin = std::chrono::steady_clock::now();
  const auto page = watch("path=large/**");
  const auto other = watch("path=data/**");
  EXPECT_THAT(page->read_until("error"), HasSubstr("its answer is longer than 8388608 bytes"));
  other->read_until("-3.5");
  while (counted->asked < 4 && std::chrono::steady_clock::now() - begin < test_patience)
    std::this_thread::sleep_for(5ms);
  EXPECT_GE(counted->asked, 4u);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms + 100ms + 200ms);
  for (int i = 0; i < 200; ++i)
    db.remove_node(fmt::format("large/part/{}", i));
  EXPECT_TRUE(tells(page->read_until("\"large/counted\""), "large/counted", "1"));
}

}  // namespace
