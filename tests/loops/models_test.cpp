// Every model on the plant, from its start to its channels at rest. One table; it states the
// differences alone.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <ostream>

#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::plant_node;

struct model {
  const char* product;
  std::size_t channels;
  const char* index;           ///< how "data/channel/index" begins
  const char* first_id;        ///< of the paths of the first channel
  float utilization_in_dark;   ///< percent, all channels there and none lit
  float utilization_when_lit;  ///< percent
  bool has_automation_mode;
};

std::ostream& operator<<(std::ostream& out, const model& of) {
  return out << of.product;
}

constexpr model models[] = {
    {"orvalite", 32, "[19140000,19155000,", "19140000", 0.0f, 100.0f, true},
    {"orvamax", 40, "[19210000,19220000,", "19210000", 0.0f, 100.0f, true},
    {"orvapro", 40, "[19210000,19220000,", "19210000", 0.0f, 100.0f, true},
    {"orvakinet", 40, "[1,2,3,4,5,6,7,8,9,10,", "1", 83.3f, 83.3f, false},
    {"selkamin", 48, "[19210000,19220000,", "19210000", 99.5f, 99.5f, true},
    {"selkaplus", 48, "[19210000,19220000,", "19210000", 99.5f, 99.5f, true},
};

class every_model : public testing::TestWithParam<model> {
 protected:
  static sim::topology dark(const char* product) {
    auto topology = sim::default_topology(product);
    topology.nodes.front().lit = std::vector<unsigned>{};
    return topology;
  }

  plant_node node_{dark(GetParam().product)};
};

TEST_P(every_model, brings_its_band_to_target) {
  const auto& expected = GetParam();
  node_.start();
  ASSERT_EQ(node_.channels().size(), expected.channels);
  node_.add_channels();
  node_.run_for(5s);
  EXPECT_TRUE(node_.text("data/channel/index").starts_with(expected.index))
      << node_.text("data/channel/index");
  EXPECT_FLOAT_EQ(node_.number("data/system/utilization"), expected.utilization_in_dark);
  EXPECT_EQ(node_.tree().find("data/automationMode") != nullptr, expected.has_automation_mode);
  const auto first = fmt::format("data/client/{}/rx/", expected.first_id);
  EXPECT_FALSE(node_.flag(first + "peak"));

  node_.plant().fill_band(0);
  EXPECT_TRUE(node_.run_until([&] { return node_.all_on_target(); }, 20s));
  node_.run_for(2min);
  EXPECT_TRUE(node_.all_on_target());
  EXPECT_TRUE(node_.flag(first + "peak"));
  EXPECT_FLOAT_EQ(node_.number("data/system/utilization"), expected.utilization_when_lit);
}

INSTANTIATE_TEST_SUITE_P(models, every_model, testing::ValuesIn(models),
                         [](const auto& of) { return std::string(of.param.product); });

TEST(unknown_model, has_no_manager) {
  EXPECT_THROW(plant_node("orvatiny"), std::exception);
}

}  // namespace
