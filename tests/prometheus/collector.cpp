#include "tests/prometheus/collector.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <stdexcept>

#include "platform/wire/json_conversion.h"
#include "tests/support/daemon_node.h"

namespace test {

collector::collector(const std::string& target, const std::string& further) {
  const auto settings = fmt::format(
      "global: {{scrape_interval: 250ms, evaluation_interval: 1s}}\n"
      "rule_files: [{}]\n"
      "scrape_configs:\n"
      "  - job_name: lumora\n"
      "    static_configs: [{{targets: [\"{}\"]}}]\n"
      "    {}\n",
      LUMORA_RULES, target, further);
  folder_.write("prometheus.yml", settings);
  prometheus_ = std::make_unique<process>(process::settings{
      {LUMORA_PROMETHEUS, "--config.file=" + folder_.file("prometheus.yml"),
       "--storage.tsdb.path=" + folder_.file("data"), "--web.listen-address=127.0.0.1:0"},
      {},
      {}});
  const std::string before = "msg=\"Listening on\" address=";
  if (!prometheus_->wait_for(before) || !prometheus_->wait_for("Server is ready"))
    throw std::runtime_error("no collector: " + prometheus_->last_lines());
  const auto said = prometheus_->output();
  const auto begin = said.find(before) + before.size();
  address_ = said.substr(begin, said.find_first_of(" \n", begin) - begin);
}

nx::json_document collector::ask(const std::string& what, const std::string& parameter) const {
  std::vector<std::string> command{
      "curl", "-s", "-m", "20", "-G", fmt::format("http://{}/api/v1/{}", address_, what)};
  if (!parameter.empty()) command.insert(command.end(), {"--data-urlencode", parameter});
  const auto told = run({command, {}, {}}).output;
  auto answer = nx::parse_json(told);
  if (!answer.HasMember("data")) throw std::runtime_error(parameter + ": " + told);
  nx::json_document data;
  data.CopyFrom(answer["data"], data.GetAllocator());
  return data;
}

std::size_t collector::series(const std::string& query) const {
  return ask("query", "query=" + query)["result"].Size();
}

std::optional<double> collector::number(const std::string& query) const {
  const auto data = ask("query", "query=" + query);
  const auto& result = data["result"];
  if (result.Size() != 1) return std::nullopt;
  return std::stod(result[0]["value"][1].GetString());
}

bool collector::gives(const std::string& query, std::optional<double> wanted) const {
  return eventually([&] { return number(query) == wanted; });
}

std::vector<double> collector::samples(const std::string& selector) const {
  const auto data = ask("query", "query=" + selector + "[1h]");
  if (data["result"].Size() != 1) return {};
  std::vector<double> values;
  for (const auto& sample : data["result"][0]["values"].GetArray())
    values.push_back(std::stod(sample[1].GetString()));
  return values;
}

}  // namespace test
