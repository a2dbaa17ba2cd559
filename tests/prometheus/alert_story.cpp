#include "tests/prometheus/alert_story.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <fstream>
#include <sstream>

#include "gateway/metrics/metrics_text.h"
#include "gateway/metrics/tree_metrics.h"
#include "platform/nexel_client/request_text.h"
#include "platform/value_tree/server/request_handler.h"
#include "platform/wire/json_conversion.h"
#include "platform/wire/json_rpc.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace test {

namespace {

std::string metrics_of(nx_db* tree, const std::string& node) {
  if (!tree) return gateway::metrics_text(gateway::scraped_families(nullptr, node), true);
  const nx::request_handler handler(*tree, nx::access::read_only, nullptr);
  nx::json_document values(rapidjson::kObjectType);
  auto& allocator = values.GetAllocator();
  for (const auto& pattern : gateway::scraped_patterns()) {
    const auto answer =
        nx::parse_json(handler.answer(nx::json_rpc::request(1, "get", nx::params_text(pattern))));
    if (!answer.HasMember("result")) continue;  // a path that this model has not
    for (const auto& member : answer["result"].GetObject()) {
      values.AddMember(nx::json_value(member.name, allocator),
                       nx::json_value(member.value, allocator), allocator);
    }
  }
  return gateway::metrics_text(gateway::scraped_families(&values, node), true);
}

std::string quoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text)
    out += c == '\'' ? std::string("''") : std::string(1, c);
  return out + "'";
}

}  // namespace

void alert_story::scrape(const std::map<std::string, nx_db*>& nodes) {
  ++scrapes_;
  for (const auto& [node, tree] : nodes) {
    std::istringstream lines(metrics_of(tree, node));
    for (std::string line; std::getline(lines, line);)
      if (!line.starts_with('#')) take(line);
  }
}

/// A sample that a scrape lacks ends its series, as a collector has it.
void alert_story::take(const std::string& line) {
  const auto space = line.rfind(' ');
  auto& one = series_[line.substr(0, space)];
  if (!one.values.empty() && one.values.size() < scrapes_ - 1) one.values.push_back("stale");
  one.values.resize(scrapes_ - 1, "_");
  one.values.push_back(line.substr(space + 1));
}

std::string alert_story::values_text(const series& one) const {
  auto values = one.values;
  if (values.size() < scrapes_) values.push_back("stale");
  std::string text;
  for (std::size_t i = 0; i < values.size();) {
    std::size_t same = 1;
    while (values[i] != "stale" && i + same < values.size() && values[i + same] == values[i])
      ++same;
    // A value and how many follow it; of gaps how many there are.
    text += i == 0 ? "" : " ";
    text += values[i];
    if (same > 1) text += fmt::format("x{}", values[i] == "_" ? same : same - 1);
    i += same;
  }
  return text;
}

std::string alert_story::test_file(const std::map<std::string, int>& fired,
                                   const std::vector<std::string>& answering) const {
  const auto step = interval_.count();
  const auto end = (static_cast<std::int64_t>(scrapes_) - 1) * step;
  std::string text = fmt::format(
      "rule_files: [{}]\nevaluation_interval: {}s\ntests:\n- interval: {}s\n  input_series:\n",
      LUMORA_RULES, step, step);
  for (const auto& [name, one] : series_)
    text += fmt::format("  - series: {}\n    values: {}\n", quoted(name), values_text(one));
  text += fmt::format(
      "  promql_expr_test:\n"
      "  - expr: count by (alertname, direction, loop, guard, section) "
      "(max_over_time(ALERTS{{alertstate=\"firing\"}}[7d]))\n"
      "    eval_time: {}s\n    exp_samples:{}\n",
      end, fired.empty() ? " []" : "");
  for (const auto& [alert, count] : fired)
    text += fmt::format("    - {{labels: {}, value: {}}}\n", quoted(alert), count);
  for (const auto& query : answering) {
    text += fmt::format(
        "  - expr: {}\n    eval_time: {}s\n    exp_samples: [{{labels: '{{}}', value: 1}}]\n",
        quoted("count(" + query + ") > bool 0"), end);
  }
  return text;
}

std::string alert_story::faults(const std::map<std::string, int>& fired,
                                const std::vector<std::string>& answering) const {
  const temp_folder folder;
  folder.write("story.yml", test_file(fired, answering));
  const auto told = run({{LUMORA_PROMTOOL, "test", "rules", folder.file("story.yml")}, {}, {}});
  return told.status == 0 ? "" : told.output;
}

}  // namespace test
