#include "gateway/metrics/family_set.h"

#include <algorithm>

namespace gateway {

prometheus::ClientMetric& family_set::sample(const char* name, const char* help,
                                             prometheus::MetricType type, metric_labels labels) {
  auto at = std::ranges::find(families_, name, &prometheus::MetricFamily::name);
  if (at == families_.end()) {
    families_.push_back({name, help, type, {}});
    at = std::prev(families_.end());
  }
  auto& added = at->metric.emplace_back();
  added.label.push_back({"node", node_});
  added.label.insert(added.label.end(), labels.begin(), labels.end());
  return added;
}

void family_set::gauge(const char* name, const char* help, metric_labels labels, double value) {
  sample(name, help, prometheus::MetricType::Gauge, std::move(labels)).gauge.value = value;
}

void family_set::counter(const char* name, const char* help, metric_labels labels, double value) {
  sample(name, help, prometheus::MetricType::Counter, std::move(labels)).counter.value = value;
}

void family_set::histogram(const char* name, const char* help, prometheus::ClientMetric collected) {
  sample(name, help, prometheus::MetricType::Histogram, {}).histogram =
      std::move(collected.histogram);
}

std::vector<prometheus::MetricFamily> family_set::take() {
  std::ranges::sort(families_, {}, &prometheus::MetricFamily::name);
  return std::move(families_);
}

}  // namespace gateway
