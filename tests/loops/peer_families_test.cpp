// A manager facing a simulated peer of each family: it identifies the peer, finds every value that
// it asks for, and the line follows the fibre if the family allows it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct family {
  const char* name;
  const char* product;
  const char* hostname;  ///< as the node shows it
  bool line_follows;
};

std::ostream& operator<<(std::ostream& out, const family& of) {
  return out << of.name;
}

constexpr family families[] = {
    {"orva-lite", "ORVA-LITE", "simulated-orva-lite", true},
    {"orva-pro", "ORVA-PRO", "simulated-orva-pro", true},
    {"tarn-one", "TARN-ONE", "simulated-tarn-one", true},
    {"tarn-two", "TARN-TWO", "simulated-tarn-two", true},
    // These tell neither saturation nor calibration.
    {"selka-min", "SELKA-MIN", "simulated-selka-min", false},
    {"selka-plus", "SELKA-PLUS", "simulated-selka-plus", false},
    // These are in no adapter's table.
    {"orva-max", "ORVA-MAX", "n/a", false},
    {"orva-kinet", "ORVA-KINET", "n/a", false},
};

class every_family : public testing::TestWithParam<family> {
 protected:
  /// Short enough that each kind of line has room to give way by 3 dB.
  static constexpr double length_km = 40.0;

  test::plant_node node_{test::facing("orvalite", GetParam().name, length_km)};
};

TEST_P(every_family, is_known_and_read_and_followed) {
  const auto& expected = GetParam();
  node_.face_far_end();
  node_.start();
  node_.cycle();
  ASSERT_TRUE(node_.run_until(
      [&] { return node_.text("data/line/1/remoteProduct") == expected.product; }, 60s));
  node_.run_for(4min);
  EXPECT_THAT(node_.take_log(),
              Each(AllOf(Not(StartsWith("Failed to subscribe")), Not(HasSubstr("No value for")))));
  EXPECT_EQ(node_.text("data/line/1/remoteHostname"), expected.hostname);
  EXPECT_TRUE(node_.all_on_target());
  if (expected.hostname != std::string("n/a")) {
    EXPECT_NEAR(node_.number("data/spanloss/oms/tx"), node_.plant().span_loss_db(0), 0.5);
    EXPECT_NEAR(node_.number("data/spanloss/oms/rx"), node_.plant().span_loss_db(1), 0.5);
  }

  const auto voa = [&] { return node_.plant().voa_attenuation_db(0); };
  const double before = voa();
  node_.plant().set_span_offset(0, 3.0);
  node_.run_for(4min);
  // A line rests up to 0.75 dB on either side of its aim, and may have been on the other side.
  EXPECT_NEAR(voa() - before, expected.line_follows ? -3.0 : 0.0,
              expected.line_follows ? 1.6 : 0.1);
  EXPECT_TRUE(node_.all_on_target());
}

INSTANTIATE_TEST_SUITE_P(peers, every_family, testing::ValuesIn(families),
                         [](const auto& of) -> std::string {
                           std::string name = of.param.name;
                           name[name.find('-')] = '_';
                           return name;
                         });

}  // namespace
