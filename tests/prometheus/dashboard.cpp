#include "tests/prometheus/dashboard.h"

#include <rapidjson/document.h>
#include <rapidjson/istreamwrapper.h>

#include <fstream>
#include <stdexcept>

namespace test {

namespace {

std::vector<std::string> all_queries() {
  std::ifstream file(LUMORA_DASHBOARD);
  rapidjson::IStreamWrapper stream(file);
  rapidjson::Document dashboard;
  dashboard.ParseStream(stream);
  if (!dashboard.IsObject()) throw std::runtime_error("no dashboard at " LUMORA_DASHBOARD);
  std::vector<std::string> queries;
  for (const auto& panel : dashboard["panels"].GetArray()) {
    if (!panel.HasMember("targets")) continue;
    for (const auto& target : panel["targets"].GetArray()) {
      constexpr std::string_view chosen = "$node";
      std::string query = target["expr"].GetString();
      for (auto at = query.find(chosen); at != query.npos; at = query.find(chosen))
        query.replace(at, chosen.size(), ".*");
      queries.push_back(query);
    }
  }
  return queries;
}

std::vector<std::string> queries_about(bool certificate) {
  auto queries = all_queries();
  std::erase_if(queries, [=](const std::string& query) {
    return (query.find("certificate") != query.npos) != certificate;
  });
  return queries;
}

}  // namespace

std::vector<std::string> dashboard_queries() {
  return queries_about(false);
}

std::vector<std::string> certificate_queries() {
  return queries_about(true);
}

}  // namespace test
