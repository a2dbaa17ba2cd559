#include "gateway/metrics/metrics_text.h"

#include <fmt/format.h>
#include <prometheus/text_serializer.h>

#include <cmath>

namespace gateway {

namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;

void append_escaped(std::string& out, std::string_view text) {
  for (const char c : text) {
    if (c == '\n') {
      out += "\\n";
      continue;
    }
    if (c == '\\' || c == '"') out += '\\';
    out += c;
  }
}

std::string number_text(double value) {
  if (std::isinf(value)) return value > 0 ? "+Inf" : "-Inf";
  return fmt::format("{}", value);
}

/// A bound is a label, and 1 and 1.0 would be two different ones; 1.0 is the standard form.
std::string bound_text(double bound) {
  const auto text = number_text(bound);
  return text.find_first_of(".eI") == text.npos ? text + ".0" : text;
}

void append_sample(std::string& out, std::string_view name, const ClientMetric& metric,
                   std::string_view bound, double value) {
  out += name;
  char separator = '{';
  const auto append_label = [&](std::string_view label, std::string_view text) {
    out += separator;
    separator = ',';
    out += label;
    out += "=\"";
    append_escaped(out, text);
    out += '"';
  };
  for (const auto& label : metric.label)
    append_label(label.name, label.value);
  if (!bound.empty()) append_label("le", bound);
  if (separator == ',') out += '}';
  out += ' ';
  out += number_text(value);
  out += '\n';
}

void append_histogram(std::string& out, const std::string& name, const ClientMetric& metric) {
  const auto& histogram = metric.histogram;
  for (const auto& bucket : histogram.bucket) {
    append_sample(out, name + "_bucket", metric, bound_text(bucket.upper_bound),
                  static_cast<double>(bucket.cumulative_count));
  }
  append_sample(out, name + "_count", metric, {}, static_cast<double>(histogram.sample_count));
  append_sample(out, name + "_sum", metric, {}, histogram.sample_sum);
}

const char* type_text(MetricType type) {
  if (type == MetricType::Counter) return "counter";
  return type == MetricType::Histogram ? "histogram" : "gauge";
}

std::string open_text(const std::vector<MetricFamily>& families) {
  constexpr std::string_view of_counter = "_total";
  std::string out;
  for (const auto& family : families) {
    std::string_view name = family.name;
    if (family.type == MetricType::Counter && name.ends_with(of_counter)) {
      name.remove_suffix(of_counter.size());
    }
    out += fmt::format("# TYPE {} {}\n# HELP {} ", name, type_text(family.type), name);
    append_escaped(out, family.help);
    out += '\n';
    for (const auto& metric : family.metric) {
      if (family.type == MetricType::Histogram) {
        append_histogram(out, family.name, metric);
      } else {
        append_sample(
            out, family.name, metric, {},
            family.type == MetricType::Counter ? metric.counter.value : metric.gauge.value);
      }
    }
  }
  return out + "# EOF\n";
}

}  // namespace

metrics_form form_for(std::string_view accept) {
  if (accept.find("application/openmetrics-text") != accept.npos) {
    return {"application/openmetrics-text; version=1.0.0; charset=utf-8", true};
  }
  return {"text/plain; version=0.0.4; charset=utf-8", false};
}

std::string metrics_text(const std::vector<MetricFamily>& families, bool open) {
  return open ? open_text(families) : prometheus::TextSerializer().Serialize(families);
}

}  // namespace gateway
