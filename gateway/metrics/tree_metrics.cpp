#include "gateway/metrics/tree_metrics.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

#include <array>
#include <charconv>
#include <limits>
#include <optional>
#include <set>
#include <string_view>

#include "gateway/metrics/tree_lookup.h"
#include "platform/value_tree/path_pattern.h"
#include "states/channel_state.h"
#include "states/line_state.h"

namespace gateway {

namespace {

enum class kind { number, light, flag, count };

struct metric_row {
  const char* path;  ///< of a channel: the part after ID/SIDE/
  const char* name;
  const char* help;
  const char* label = nullptr;
  const char* value = nullptr;
  kind what = kind::number;
};

// clang-format off
constexpr auto judged = std::to_array<metric_row>({
    {"measured", "lumora_channel_power_dbm", "Power of the channel at the amplifier's output, as last judged", nullptr, nullptr, kind::light},
    {"steps", "lumora_attenuator_steps_total", "Steps of the channel's attenuator", nullptr, nullptr, kind::count},
    {"target", "lumora_channel_target_dbm", "Target of that power"},
    {"error", "lumora_channel_error_db", "Power less target: positive means that the channel is too strong"},
    {"deadBand", "lumora_channel_dead_band_db", "An error up to this is left alone"},
    {"headroomUp", "lumora_channel_headroom_db", "Light that the attenuator can still add or take away", "way", "up"},
    {"headroomDown", "lumora_channel_headroom_db", "Light that the attenuator can still add or take away", "way", "down"},
    {"age", "lumora_channel_reading_age_seconds", "Age of the monitor's reading at the last judgement"},
});
constexpr auto told = std::to_array<metric_row>({
    {"attenuation", "lumora_channel_attenuation_db", "Attenuation of the switch, read back"},
    {"power", "lumora_channel_client_power_dbm", "Power of the channel at the client port", nullptr, nullptr, kind::light},
    {"peak", "lumora_channel_light", "1 while the monitor sees a signal", nullptr, nullptr, kind::flag},
});
constexpr auto of_node = std::to_array<metric_row>({
    {"data/line/1/rx/power", "lumora_line_power_dbm", "Power of all channels at the fibre connector", "direction", "rx", kind::light},
    {"data/line/1/tx/power", "lumora_line_power_dbm", "Power of all channels at the fibre connector", "direction", "tx", kind::light},
    {"data/line/1/rx/totalPower", "lumora_line_total_power_dbm", "The same, including the supervisory light", "direction", "rx", kind::light},
    {"data/line/1/tx/totalPower", "lumora_line_total_power_dbm", "The same, including the supervisory light", "direction", "tx", kind::light},
    {"data/line/1/rx/osc/power", "lumora_line_supervisory_power_dbm", "Power of the supervisory light", "direction", "rx", kind::light},
    {"data/line/1/tx/osc/power", "lumora_line_supervisory_power_dbm", "Power of the supervisory light", "direction", "tx", kind::light},
    {"data/line/1/rx/length", "lumora_line_length_km", "Length of the fibre", "direction", "rx"},
    {"data/line/1/tx/length", "lumora_line_length_km", "Length of the fibre", "direction", "tx"},
    {"data/line/lmsError", "lumora_line_squared_error_db2", "Sum over the channels of the squared error at the peer"},
    {"insight/line/headroomUp", "lumora_line_headroom_db", "Light that the line's attenuator can still add or take away", "way", "up"},
    {"insight/line/headroomDown", "lumora_line_headroom_db", "Light that the line's attenuator can still add or take away", "way", "down"},
    {"insight/line/steps", "lumora_line_attenuator_steps_total", "Steps of the line's attenuator", nullptr, nullptr, kind::count},
    {"data/preamp/gain", "lumora_preamp_gain_db", "Gain of the preamp"},
    {"data/client/rx/edfaSaturation", "lumora_amplifier_saturation_db", "Gain that the amplifier lacks", "direction", "rx"},
    {"data/client/tx/edfaSaturation", "lumora_amplifier_saturation_db", "Gain that the amplifier lacks", "direction", "tx"},
    {"data/system/utilization", "lumora_utilization_percent", "Share of the band that is in use"},
});
// clang-format on

std::optional<double> reading(const tree_values& values, const std::string& path, kind what) {
  if (what == kind::flag) {
    const auto flag = flag_at(values, path);
    return flag ? std::optional<double>(*flag ? 1 : 0) : std::nullopt;
  }
  const auto number = number_at(values, path);
  // No amplifier or monitor of a node reports light below this: -99 and -96 mean darkness.
  constexpr double darkest_dbm = -70.0;
  if (number && what == kind::light && *number < darkest_dbm) return std::nullopt;
  return number;
}

void add_row(const tree_values& values, const std::string& path, const metric_row& row,
             metric_labels labels, family_set& into) {
  const auto value = reading(values, path, row.what);
  if (!value) return;
  if (row.label) labels.push_back({row.label, row.value});
  if (row.what == kind::count) return into.counter(row.name, row.help, std::move(labels), *value);
  into.gauge(row.name, row.help, std::move(labels), *value);
}

void add_states(const char* name, const char* help, std::span<const states::state_row> rows,
                const std::optional<std::string>& present, const metric_labels& labels,
                family_set& into) {
  if (!present) return;
  for (const auto& row : rows) {
    auto of_state = labels;
    of_state.push_back({"state", row.text});
    into.gauge(name, help, std::move(of_state), *present == row.text ? 1 : 0);
  }
}

/// Direction, channel and frequency in THz of data/client/ID/SIDE/..., as labels.
metric_labels channel_labels(const tree_values& values, std::string_view id,
                             std::string_view direction) {
  // An ID is the centre in units of 10 MHz, except on a node that numbers its channels.
  constexpr double lowest_centre = 1e6;
  constexpr double units_per_thz = 1e5;
  double centre = 0;
  std::from_chars(id.data(), id.data() + id.size(), centre);
  if (const auto told_centre =
          number_at(values, fmt::format("data/client/{}/{}/frequency", id, direction))) {
    centre = *told_centre;
  }
  metric_labels labels{{"direction", std::string(direction)}, {"channel", std::string(id)}};
  const bool known = centre > lowest_centre;
  labels.push_back({"frequency_thz", known ? fmt::format("{}", centre / units_per_thz) : ""});
  return labels;
}

void add_channel(const tree_values& values, std::string_view id, std::string_view direction,
                 family_set& into) {
  const auto labels = channel_labels(values, id, direction);
  const auto data = fmt::format("data/client/{}/{}/", id, direction);
  const auto insight = fmt::format("insight/client/{}/{}/", id, direction);
  for (const auto& row : told) {
    // In the dark, the power would be the monitor's floor converted to the client port.
    if (row.what == kind::light && flag_at(values, data + "peak") != true) continue;
    add_row(values, data + row.path, row, labels, into);
  }
  for (const auto& row : judged)
    add_row(values, insight + row.path, row, labels, into);
  add_states("lumora_channel_state", "1 for the present state of the channel, 0 for all others",
             states::channel_states(), text_at(values, insight + "state"), labels, into);
}

/// For alarms/WHERE.../WHAT/severity.
void add_alarm(const tree_values& values, std::string_view path, double severity,
               family_set& into) {
  constexpr std::string_view before = "alarms/";
  constexpr std::string_view behind = "/severity";
  path = path.substr(before.size(), path.size() - before.size() - behind.size());
  const auto slash = path.rfind('/');
  if (slash == path.npos) return;
  const std::string what(path.substr(slash + 1));
  const auto where = path.substr(0, slash);
  metric_labels labels;
  if (const auto [first, rest] = nx::first_segment(where); first == "client") {
    const auto [id, direction] = nx::first_segment(rest);
    labels = channel_labels(values, id, direction);
    labels.insert(labels.begin(), {"part", "client"});
  } else {
    labels.push_back({"part", std::string(where)});
  }
  labels.push_back({"alarm", what});
  into.gauge("lumora_alarm", "Severity of the alarm, 0 while there is none", std::move(labels),
             severity);
}

/// insight/guards: {"GUARD":{"withheld":N,"active":[...]}}
void add_guards(const tree_values& values, family_set& into) {
  for_each_object(values, "insight/guards", [&](const std::string& guard, const auto& entry) {
    if (const auto withheld = number_at(entry, "withheld")) {
      into.counter("lumora_guard_withheld_total", "Writes that the guard has withheld",
                   {{"guard", guard}}, *withheld);
    }
    const auto active = entry.FindMember("active");
    if (active == entry.MemberEnd() || !active->value.IsArray()) return;
    into.gauge("lumora_guard_active", "Number of subjects on which the guard is active",
               {{"guard", guard}}, active->value.Size());
  });
}

/// insight/rest: {"LOOP":{"up":true,"hunts":false,...},...}
void add_loops(const tree_values& values, family_set& into) {
  for_each_object(values, "insight/rest", [&](const std::string& loop, const auto& entry) {
    if (const auto up = flag_at(entry, "up")) {
      into.gauge("lumora_loop_up", "1 while the loop runs through its cycles", {{"loop", loop}},
                 *up ? 1 : 0);
    }
    if (const auto hunts = flag_at(entry, "hunts")) {
      into.gauge("lumora_hunting", "1 while an actuator of the loop hunts", {{"loop", loop}},
                 *hunts ? 1 : 0);
    }
  });
}

/// insight/cycles: {"count":N,"seconds":S,"within":[[BOUND,N],...]}, since the daemon's start.
void add_cycles(const tree_values& values, family_set& into) {
  const auto* cycles = value_at(values, "insight/cycles");
  if (!cycles || !cycles->IsObject()) return;
  const auto count = number_at(*cycles, "count");
  const auto seconds = number_at(*cycles, "seconds");
  const auto* within = value_at(*cycles, "within");
  if (!count || !seconds || !within || !within->IsArray()) return;
  prometheus::ClientMetric collected;
  auto& histogram = collected.histogram;
  histogram.sample_count = static_cast<std::uint64_t>(*count);
  histogram.sample_sum = *seconds;
  for (const auto& entry : within->GetArray()) {
    if (!entry.IsArray() || entry.Size() != 2 || !entry[0].IsNumber() || !entry[1].IsUint64())
      return;
    histogram.bucket.push_back({entry[1].GetUint64(), entry[0].GetDouble()});
  }
  histogram.bucket.push_back({histogram.sample_count, std::numeric_limits<double>::infinity()});
  into.histogram("lumora_cycle_seconds", "Time that a cycle took, up to its pause", collected);
}

void add_spans(const tree_values& values, family_set& into) {
  for (const char* section : {"oms", "ots"}) {
    for (const char* direction : {"rx", "tx"}) {
      const auto loss = number_at(values, fmt::format("data/spanloss/{}/{}", section, direction));
      if (!loss) continue;
      into.gauge("lumora_span_loss_db",
                 "Loss of the span: oms from the channels, ots from all light",
                 {{"section", section}, {"direction", direction}}, *loss);
    }
  }
}

void add_node(const tree_values& values, family_set& into) {
  for (const auto& row : of_node)
    add_row(values, row.path, row, {}, into);
  add_states("lumora_line_state", "1 for the present state of the line, 0 for all others",
             states::line_states(), text_at(values, "insight/line/state"), {}, into);
  add_cycles(values, into);
  const auto product = text_at(values, "data/product");
  if (!product) return;
  into.gauge("lumora_node_info", "What the node is",
             {{"product", *product}, {"version", text_at(values, "data/swVersion").value_or("")}},
             1);
}

}  // namespace

const std::vector<std::string>& scraped_patterns() {
  static const std::vector<std::string> patterns = [] {
    std::vector<std::string> made{"data/product",
                                  "data/swVersion",
                                  "data/system/*",
                                  "data/client/*/*/frequency",
                                  "data/client/*/edfaSaturation",
                                  "data/line/*",
                                  "data/line/1/*/*",
                                  "data/line/1/*/osc/power",
                                  "data/preamp/gain",
                                  "data/spanloss/*/*",
                                  "alarms/**",
                                  "insight/client/*/*/state",
                                  "insight/line/state",
                                  "insight/line/headroomUp",
                                  "insight/line/headroomDown",
                                  "insight/line/steps",
                                  "insight/guards",
                                  "insight/rest",
                                  "insight/cycles"};
    for (const auto& row : told)
      made.push_back(fmt::format("data/client/*/*/{}", row.path));
    for (const auto& row : judged)
      made.push_back(fmt::format("insight/client/*/*/{}", row.path));
    return made;
  }();
  return patterns;
}

void add_tree_metrics(const nx::json_value& object, family_set& into) {
  if (!object.IsObject()) return;
  const tree_values values(object);
  std::set<std::pair<std::string_view, std::string_view>> channels;
  for (const auto& member : object.GetObject()) {
    const std::string_view path(member.name.GetString(), member.name.GetStringLength());
    for (const char* pattern : {"data/client/*/*/*", "insight/client/*/*/*"}) {
      if (!nx::path_matches(pattern, path)) continue;
      const auto tail = nx::first_segment(nx::first_segment(path).second).second;
      const auto [id, rest] = nx::first_segment(tail);
      channels.emplace(id, nx::first_segment(rest).first);
    }
    if (path.starts_with("alarms/") && path.ends_with("/severity") && member.value.IsNumber()) {
      add_alarm(values, path, member.value.GetDouble(), into);
    }
  }
  for (const auto& [id, direction] : channels)
    add_channel(values, id, direction, into);
  add_node(values, into);
  add_spans(values, into);
  add_guards(values, into);
  add_loops(values, into);
}

std::vector<prometheus::MetricFamily> scraped_families(
    const nx::json_value* values, const std::string& node,
    const std::optional<std::chrono::system_clock::time_point>& expires) {
  family_set into(node);
  if (expires) {
    into.gauge("lumora_certificate_expiry_timestamp_seconds",
               "When the gateway's certificate expires", {},
               std::chrono::duration<double>(expires->time_since_epoch()).count());
  }
  into.gauge("lumora_up", "1 while the daemon answers the gateway", {}, values ? 1 : 0);
  if (values) add_tree_metrics(*values, into);
  return into.take();
}

}  // namespace gateway
