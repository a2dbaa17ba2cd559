// Every bar of the regulation on models that differ in what it rests on: the switch that is written
// to and the one that follows the store, a drop side that is regulated and one that is not, both
// answers to a saturated far preamp. The program in bars/ measures all models and draws.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/loops/bars/bar.h"

namespace {

struct bar_of_model {
  bars::bar bar;
  std::string model;
  std::uint64_t draw;  ///< of the noise
};

std::ostream& operator<<(std::ostream& out, const bar_of_model& one) {
  return out << one.bar.text << " on " << one.model;
}

std::vector<bar_of_model> tested() {
  std::vector<bar_of_model> all;
  for (const auto& bar : bars::all_bars()) {
    for (const auto& model : bar.models) {
      if (model == "orvamax" || model == "selkamin") continue;
      // Each draw of this one has another timing of monitor and switch.
      const bool is_timing = bar.name == std::string("phases") && model == "orvalite";
      for (std::uint64_t draw = 1; draw <= (is_timing ? 3 : 1); ++draw)
        all.push_back({bar, model, draw});
    }
  }
  return all;
}

class regulation : public testing::TestWithParam<bar_of_model> {};

TEST_P(regulation, keeps_the_bar) {
  const auto& [bar, model, draw] = GetParam();
  const auto found = bar.measure(model, draw);
  ASSERT_EQ(found.size(), bar.limits.size());
  for (std::size_t i = 0; i < found.size(); ++i)
    EXPECT_LE(found[i], bars::limit_for(bar, bar.limits[i], model)) << bar.limits[i].what;
}

INSTANTIATE_TEST_SUITE_P(every, regulation, testing::ValuesIn(tested()), [](const auto& one) {
  auto name = fmt::format("{}_{}_{}", one.param.bar.name, one.param.model, one.param.draw);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

}  // namespace
