// A real Prometheus with a real daemon and its gateway, which die and come back: nothing of a dead
// daemon remains, and counters continue or restart as a collector understands it.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <csignal>

#include "platform/wire/json_conversion.h"
#include "tests/prometheus/collector.h"
#include "tests/prometheus/dashboard.h"
#include "tests/system/regulating_node.h"

namespace {

using test::eventually;

constexpr const char* all = "count({__name__=~\"lumora_[^:]*\"})";
constexpr const char* cycles = "lumora_cycle_seconds_count";

class collected_node : public testing::Test {
 protected:
  collected_node() {
    node.start_store();
    node.start_devices("orvalite", {"--peer", "orva-lite", "--peer-interface", "lo"});
    start_gateway("127.0.0.1:0");
    seen = std::make_unique<test::collector>(target);
  }

  void start_gateway(const std::string& at, const std::vector<std::string>& further = {}) {
    gateway.reset();
    test::process::settings what{
        {LUMORA_BIN_DIR "/lumora_gateway", "--listen", at}, {{"NX_ROOT", node.root().path()}}, {}};
    what.command.insert(what.command.end(), further.begin(), further.end());
    gateway = std::make_unique<test::process>(what);
    if (!gateway->wait_for("Serving http")) throw std::runtime_error(gateway->output());
    const auto said = gateway->output();
    const auto begin = said.find("://") + 3;
    target = said.substr(begin, said.find('/', begin) - begin);
  }
  void start_daemon() {
    node.start_and_await();
    node.release();
  }
  double cycles_told() const {
    return nx::parse_json(node.read("insight/cycles"))["count"].GetDouble();
  }
  /// Drops in the values of a counter, each of which a collector takes for a start from 0.
  std::size_t resets(const std::vector<double>& values) const {
    std::size_t found = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
      found += values[i] < values[i - 1] ? 1 : 0;
    return found;
  }
  /// All that it tells is that there is nothing.
  void expect_blindness() const {
    EXPECT_TRUE(seen->gives("lumora_up", 0));
    EXPECT_EQ(seen->number(all), 1) << "what a dead daemon told is not so any more";
  }

  test::regulating_node node;
  std::unique_ptr<test::process> gateway;
  std::string target;
  std::unique_ptr<test::collector> seen;
};

TEST_F(collected_node, is_told_without_stale_samples_through_restarts_of_daemon_and_gateway) {
  EXPECT_TRUE(seen->gives("up", 1));
  expect_blindness();
  start_daemon();
  EXPECT_TRUE(seen->gives("lumora_up", 1));
  EXPECT_TRUE(seen->gives("sum(lumora_channel_state{direction=\"rx\",state=\"on target\"})", 32));
  for (const auto& query : test::dashboard_queries())
    EXPECT_TRUE(eventually([&] { return seen->series(query) > 0; })) << query;

  const auto told = cycles_told();
  node.daemon().signal(SIGKILL);
  expect_blindness();
  const auto first = seen->samples(cycles);
  EXPECT_EQ(resets(first), 0u);
  EXPECT_GE(first.back() + 10, told) << "it is behind";
  start_daemon();
  EXPECT_TRUE(seen->gives(fmt::format("resets({}[1h])", cycles), 1));
  EXPECT_TRUE(eventually([&] { return seen->number(cycles).value_or(0) > 5; }));

  gateway->signal(SIGKILL);
  EXPECT_TRUE(seen->gives("up", 0));
  EXPECT_EQ(seen->number(all), std::nullopt);
  EXPECT_TRUE(seen->gives(R"(ALERTS{alertname="LumoraGatewayLost"})", 1));
  start_gateway(target);
  EXPECT_TRUE(seen->gives("lumora_up", 1));

  node.daemon().signal(SIGSTOP);  // no answer within the time of a scrape
  EXPECT_TRUE(seen->gives("up", 0));
  EXPECT_EQ(seen->number(all), std::nullopt);
  node.daemon().signal(SIGCONT);
  EXPECT_TRUE(seen->gives("lumora_up", 1));

  // One series, and the daemon's restart its only reset.
  const auto values = seen->samples(cycles);
  EXPECT_EQ(resets(values), 1u);
  EXPECT_LE(values.back(), cycles_told());
  EXPECT_EQ(seen->number(fmt::format("min_over_time(rate({}[2s])[1h:1s]) >= bool 0", cycles)), 1);
  EXPECT_LE(seen->number(fmt::format("increase({}[1h])", cycles)).value_or(1e9),
            1.2 * (first.back() + values.back()))
      << "counted twice; a fifth is what a collector extrapolates by";
}

TEST_F(collected_node, has_clean_metrics_and_rules) {
  start_daemon();
  EXPECT_TRUE(seen->gives("lumora_up", 1));
  const auto lint = test::run(
      {{"sh", "-c",
        fmt::format("curl -s http://{}/metrics | {} check metrics", target, LUMORA_PROMTOOL)},
       {},
       {}});
  EXPECT_EQ(lint.status, 0);
  EXPECT_EQ(lint.output, "");
  const auto size_of = [&](const char* coding) {
    const auto told = test::run(
        {{"curl", "-s", "-o", "/dev/null", "-w", "%{size_download}", "-H",
          fmt::format("Accept-Encoding: {}", coding), fmt::format("http://{}/metrics", target)},
         {},
         {}});
    return std::stod(told.output);
  };
  EXPECT_LT(size_of("gzip"), size_of("identity") / 10) << "packed, as the collector reads it too";
  // In the other form, which the collector asks for: each family has its kind and its help.
  const auto known = seen->ask("targets/metadata");
  EXPECT_GE(known.Size(), 30u);
  for (const auto& family : known.GetArray()) {
    const std::string name = family["metric"].GetString();
    EXPECT_STRNE(family["type"].GetString(), "unknown") << name;
    EXPECT_STRNE(family["help"].GetString(), "") << name;
  }
  EXPECT_EQ(seen->number("scrape_samples_scraped == bool scrape_samples_post_metric_relabeling"),
            1);
  EXPECT_TRUE(eventually([&] {
    const auto groups = seen->ask("rules");
    return std::ranges::all_of(groups["groups"].GetArray(), [](const auto& group) {
      return std::ranges::all_of(group["rules"].GetArray(), [](const auto& rule) {
        return std::string_view(rule["health"].GetString()) == "ok";
      });
    });
  })) << "a rule fails";
}

TEST_F(collected_node, is_collected_by_tls) {
  const test::temp_folder folder;
  const auto certificate = folder.file("node.pem");
  const auto key = folder.file("node.key");
  const auto make = [&](const std::string& days) {
    const auto made =
        test::run({{"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", days,
                    "-subj", "/CN=node", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key,
                    "-out", certificate},
                   {},
                   {}});
    ASSERT_EQ(made.status, 0) << made.output;
  };
  make("2");
  start_gateway("127.0.0.1:0", {"--certificate", certificate, "--key", key});
  const auto collect_by = [&](const std::string& authority) {
    seen = std::make_unique<test::collector>(
        target, fmt::format("scheme: https\n    tls_config: {{{}}}", authority));
  };
  collect_by("ca_file: " + certificate);
  EXPECT_TRUE(seen->gives("up", 1));
  EXPECT_TRUE(seen->gives("lumora_up", 0));
  const auto alert = R"(ALERTS{alertname="LumoraCertificateExpires"})";
  EXPECT_TRUE(seen->gives(alert, 1)) << "in two days";
  const auto shown = test::certificate_queries();
  EXPECT_EQ(shown.size(), 1u);
  for (const auto& query : shown)
    EXPECT_NEAR(seen->number(query).value_or(0), 2, 0.01) << query << ", in days";
  make("90");
  // As the service reloads it.
  const auto reloaded =
      test::run({{"sh", "-c", "eval \"$(sed -n 's/^ExecReload=//p' " LUMORA_GATEWAY_UNIT ")\""},
                 {{"MAINPID", std::to_string(gateway->pid())}},
                 {}});
  EXPECT_EQ(reloaded.status, 0) << reloaded.output;
  EXPECT_TRUE(seen->gives(alert, std::nullopt));
  EXPECT_TRUE(seen->gives("up", 1)) << "with the new one";
  collect_by("");
  EXPECT_TRUE(seen->gives("up", 0)) << "a certificate of nobody whom the collector trusts";
  const auto clear =
      test::run({{"curl", "-s", "-m", "10", "http://" + target + "/metrics"}, {}, {}});
  EXPECT_EQ(clear.output.find("lumora_up"), std::string::npos) << "in clear";
}

}  // namespace
