#include "device/reading_kind.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace device;
using enum verdict;

struct judged {
  reading_kind kind;
  float number;
  verdict expected;
};

TEST(reading_kind, tells_what_an_instrument_can_measure) {
  using enum reading_kind;
  for (const auto& [kind, number, expected] : {
           judged{channel_power, -45.0f, measured},  // a monitor's floor
           {channel_power, -99.0f, refused},
           {channel_power, 60.0f, refused},
           {tap_power, -60.0f, measured},
           {tap_power, -95.99f, nothing_measured},  // the sum of two that could not be read
           {tap_power, 60.0f, refused},
           {osc_power, -99.0f, nothing_measured},  // no module
           {osc_power, -96.0f, nothing_measured},
           {osc_power, -28.0f, measured},
           {osc_power, -999.0f, refused},
           {attenuation, -0.3f, measured},
           {attenuation, 100.0f, nothing_measured},  // blocked
           {attenuation, -99.0f, refused},
           {attenuation, 60.0f, refused},
           {gain, -99.0f, refused},
           {saturation, 0.0f, measured},
           {saturation, 30.0f, measured},
           {saturation, 500.0f, refused},
           {span_loss, -99.0f, nothing_measured},  // failed at the in-line amplifier
           {span_loss, 100.0f, nothing_measured},  // dark at one end
           {osc_loss, 38.0f, measured},
           {fibre_length, 150.0f, measured},
           {fibre_length, 999.0f, refused},  // would tilt every target by some dB
       }) {
    EXPECT_EQ(judge(kind, number), expected) << limits_of(kind).name << " " << number;
  }
}

TEST(reading_kind, refuses_what_is_no_number_and_takes_zero_everywhere) {
  for (unsigned i = 0; i < static_cast<unsigned>(reading_kind::count); ++i) {
    const auto kind = static_cast<reading_kind>(i);
    for (const float nonsense : {NAN, INFINITY, -INFINITY, 1e30f, -1e30f})
      EXPECT_EQ(judge(kind, nonsense), refused) << limits_of(kind).name;
    EXPECT_EQ(judge(kind, 0.0f), measured) << limits_of(kind).name << ": a value before the first";
  }
  EXPECT_EQ(refusal_text(reading_kind::channel_power, 999.0f),
            "999 is no channel power (-70 to 30 dBm)");
}

}  // namespace
