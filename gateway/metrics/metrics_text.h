// The two text formats for collectors: Prometheus' own 0.0.4, and OpenMetrics 1.0.0 if requested.
// Pure.
#pragma once

#include <prometheus/metric_family.h>

#include <string>
#include <string_view>
#include <vector>

namespace gateway {

struct metrics_form {
  const char* type;
  bool open;
};

/// Chosen by the request's Accept header.
metrics_form form_for(std::string_view accept);

std::string metrics_text(const std::vector<prometheus::MetricFamily>& families, bool open);

}  // namespace gateway
