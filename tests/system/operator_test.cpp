// Commands that an operator types at a regulating node.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/system/regulating_node.h"

namespace {

using testing::HasSubstr;

long lines_of(const std::string& text) {
  return std::count(text.begin(), text.end(), '\n');
}

TEST(operator_at_the_node, reads_writes_watches_and_is_told_what_was_refused) {
  test::regulating_node node;
  node.bring_up();
  const auto channel = node.plant().channels()[3];
  const auto offset = fmt::format("config/client/{}/rx/wantedPowerOffset", channel);

  const auto powers = node.lumoractl({"get", "data/client/*/rx/power"});
  EXPECT_EQ(powers.status, 0) << powers.output;
  EXPECT_EQ(lines_of(powers.output), 32) << powers.output;
  EXPECT_THAT(powers.output, HasSubstr(fmt::format("data/client/{}/rx/power", channel)));

  // A lower target is not only taken: the light follows.
  const auto power = fmt::format("truth/node/0/rx/channel/{}/boosterPower", channel);
  const double before = node.plant().number(power);
  const auto taken = node.lumoractl({"set", offset, "-2"});
  EXPECT_EQ(taken.status, 0) << taken.output;
  EXPECT_TRUE(test::eventually([&] { return node.plant().number(power) < before - 1.0; }))
      << before << " dBm, now " << node.plant().number(power);

  const auto refused = node.lumoractl({"set", offset, "1000"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.output, HasSubstr("-22 Wanted power 1000 is out of range"));
  EXPECT_EQ(node.lumoractl({"--nexel", "nobody", "get", "data"}).status, 3);
  EXPECT_EQ(node.lumoractl({"get", offset}).output, "-2 dBm\n");

  const auto watched =
      node.lumoractl({"watch", "data/client/*/rx/power", "--count", "40", "--for", "60"});
  EXPECT_EQ(watched.status, 0) << watched.output;
  EXPECT_EQ(lines_of(watched.output), 40) << watched.output;
}

}  // namespace
