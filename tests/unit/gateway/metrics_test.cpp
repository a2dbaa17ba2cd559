// From values of the tree to what a collector reads.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "gateway/metrics/metrics_text.h"
#include "gateway/metrics/tree_metrics.h"
#include "platform/wire/json_conversion.h"

namespace {

using testing::HasSubstr;
using testing::Not;

std::string text_of(const std::string& values, bool open = false) {
  gateway::family_set families("n");
  gateway::add_tree_metrics(nx::parse_json(values), families);
  return gateway::metrics_text(families.take(), open);
}

struct sample {
  const char* name;
  const char* values;
  const char* line;  ///< null: no sample at all
};

TEST(metrics, a_value_is_a_sample_unless_it_is_in_error_or_dark) {
  const std::vector<sample> table{
      {"a channel's power", R"({"insight/client/19230000/rx/measured":1.5})",
       R"(lumora_channel_power_dbm{node="n",direction="rx",channel="19230000",frequency_thz="192.3"} 1.5)"},
      {"of a node that counts its channels",
       R"({"data/client/7/tx/frequency":19235000,"data/client/7/tx/attenuation":4})",
       R"(lumora_channel_attenuation_db{node="n",direction="tx",channel="7",frequency_thz="192.35"} 4)"},
      {"in error", R"({"insight/client/1/rx/target":{"error":{"code":-61,"message":"dark"}}})",
       nullptr},
      {"dark", R"({"insight/client/1/rx/measured":-99,"data/line/1/rx/osc/power":-96})", nullptr},
      {"dark at the client port", R"({"data/client/1/rx/power":-40,"data/client/1/rx/peak":false})",
       R"(lumora_channel_light{node="n",direction="rx",channel="1",frequency_thz=""} 0)"},
      {"headroom", R"({"insight/client/1/rx/headroomDown":0.5})",
       R"(lumora_channel_headroom_db{node="n",direction="rx",channel="1",frequency_thz="",way="down"} 0.5)"},
      {"a state", R"({"insight/client/1/rx/state":"stepping"})",
       R"(frequency_thz="",state="stepping"} 1)"},
      {"and the others", R"({"insight/client/1/rx/state":"stepping"})",
       R"(frequency_thz="",state="on target"} 0)"},
      {"a loop that is down", R"({"insight/rest":{"client rx":{"up":false}}})",
       R"(lumora_loop_up{node="n",loop="client rx"} 0)"},
      {"the line", R"({"data/line/1/tx/power":17})",
       R"(lumora_line_power_dbm{node="n",direction="tx"} 17)"},
      {"a span", R"({"data/spanloss/ots/rx":19.5})",
       R"(lumora_span_loss_db{node="n",section="ots",direction="rx"} 19.5)"},
      {"an alarm of a channel", R"({"alarms/client/19230000/tx/lossOfSignal/severity":1})",
       R"(lumora_alarm{node="n",part="client",direction="tx",channel="19230000",frequency_thz="192.3",alarm="lossOfSignal"} 1)"},
      {"an alarm of the line", R"({"alarms/line/1/rx/osc/lossOfLink/severity":0})",
       R"(lumora_alarm{node="n",part="line/1/rx/osc",alarm="lossOfLink"} 0)"},
      {"a guard", R"({"insight/guards":{"line-known":{"withheld":3,"active":[{}]}}})",
       R"(lumora_guard_withheld_total{node="n",guard="line-known"} 3)"},
      {"steps", R"({"insight/client/19230000/rx/steps":7})",
       R"(lumora_attenuator_steps_total{node="n",direction="rx",channel="19230000",frequency_thz="192.3"} 7)"},
      {"steps of the line", R"({"insight/line/steps":3})",
       R"(lumora_line_attenuator_steps_total{node="n"} 3)"},
      {"hunting", R"({"insight/rest":{"line":{"hunts":true}}})",
       R"(lumora_hunting{node="n",loop="line"} 1)"},
      {"nothing of the kind", R"({"insight/guards":[1],"insight/rest":5,"data/product":7})",
       nullptr},
      {"cycles that are none", R"({"insight/cycles":{"count":3,"seconds":1,"within":[["a",1]]}})",
       nullptr},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(row.name);
    if (row.line) {
      EXPECT_THAT(text_of(row.values), HasSubstr(row.line));
    } else {
      EXPECT_EQ(text_of(row.values), "");
    }
  }
  EXPECT_THAT(text_of(table[4].values), Not(HasSubstr("_dbm")));
}

TEST(metrics, the_open_form_is_asked_for_and_ends_as_it_must) {
  EXPECT_TRUE(
      gateway::form_for("application/openmetrics-text;version=1.0.0,text/plain;q=0.5").open);
  EXPECT_FALSE(gateway::form_for("text/html,*/*").open);
  const auto text = text_of(R"({"insight/guards":{"a \"b\"\n":{"withheld":3}}})", true);
  EXPECT_THAT(text, HasSubstr("# TYPE lumora_guard_withheld counter\n"));
  EXPECT_THAT(text, HasSubstr(R"(lumora_guard_withheld_total{node="n",guard="a \"b\"\n"} 3)"));
  EXPECT_TRUE(text.ends_with("\n# EOF\n"));
  constexpr const char* cycles =
      R"({"insight/cycles":{"count":9,"seconds":1.5,"within":[[0.5,7],[1.0,8]]}})";
  for (const bool open : {false, true}) {
    EXPECT_THAT(text_of(cycles, open), HasSubstr("# TYPE lumora_cycle_seconds histogram\n"));
    EXPECT_THAT(text_of(cycles, open),
                HasSubstr("lumora_cycle_seconds_bucket{node=\"n\",le=\"+Inf\"} 9\n"));
    EXPECT_THAT(text_of(cycles, open), HasSubstr("lumora_cycle_seconds_sum{node=\"n\"} 1.5\n"));
  }
  EXPECT_THAT(text_of(cycles, true), HasSubstr("_bucket{node=\"n\",le=\"1.0\"} 8\n"));
}

}  // namespace
