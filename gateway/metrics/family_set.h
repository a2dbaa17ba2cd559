// The metric families of a scrape while it is put together; each sample has the node's name. Plain
// value; throws nothing.
#pragma once

#include <prometheus/metric_family.h>

#include <string>
#include <utility>
#include <vector>

namespace gateway {

using metric_labels = std::vector<prometheus::ClientMetric::Label>;

class family_set {
 public:
  explicit family_set(std::string node) : node_(std::move(node)) {}

  void gauge(const char* name, const char* help, metric_labels labels, double value);
  void counter(const char* name, const char* help, metric_labels labels, double value);
  void histogram(const char* name, const char* help, prometheus::ClientMetric collected);

  /// In order of their names.
  std::vector<prometheus::MetricFamily> take();

 private:
  prometheus::ClientMetric& sample(const char* name, const char* help, prometheus::MetricType type,
                                   metric_labels labels);

  const std::string node_;
  std::vector<prometheus::MetricFamily> families_;
};

}  // namespace gateway
