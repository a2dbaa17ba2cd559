// Whether the table's facts about a model are consistent, and whether code that chooses by model
// covers every row.
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "base/manager/remote/peer_products.h"
#include "models/model.h"
#include "products/factory.h"
#include "tests/support/failure.h"

namespace {

class model_row : public testing::TestWithParam<std::string> {
 protected:
  const models::model& model_ = models::get(GetParam());
};

TEST_P(model_row, runs_a_daemon_and_is_known_to_peers_as_it_says) {
  EXPECT_NE(products::create_manager(model_.name), nullptr);
  EXPECT_EQ(manager::remote::is_listed(model_.product_text), model_.known_to_peers);
  EXPECT_EQ(models::find_told(model_.product_text), &model_);
  EXPECT_EQ(models::find_simulated(models::simulated_name(model_)), &model_);
}

TEST_P(model_row, has_a_light_for_each_channel_or_port_and_a_loss_for_each_port) {
  std::set<std::string> port_names;
  std::set<std::string> losses;
  for (const unsigned port : models::ports(model_)) {
    port_names.insert(models::port_name(model_, port).value());
    if (model_.port_loss_key) losses.insert(models::port_loss_key(model_, "add", port));
  }
  EXPECT_EQ(port_names.size(), models::ports(model_).size());
  EXPECT_EQ(models::port_name(model_, 0), std::nullopt);
  for (unsigned led = 1; led <= model_.panel.cross_connects; ++led)
    EXPECT_TRUE(port_names.contains("xc" + std::to_string(led))) << led;
  if (model_.kin == models::family::selka) {
    EXPECT_EQ(losses.size(), port_names.size());
  } else {
    EXPECT_EQ(model_.panel.clients, model_.grid.channels);
  }
}

TEST_P(model_row, has_channels_beside_one_another_within_its_band) {
  const auto& grid = model_.grid;
  std::set<unsigned> places;
  for (unsigned channel = 0; channel < grid.channels; ++channel)
    places.insert(grid.place(grid.center(channel)));
  EXPECT_EQ(places.size(), grid.channels);
  EXPECT_EQ(*places.begin(), 1u);
  constexpr unsigned slice = 625;
  EXPECT_LE(*places.rbegin() * grid.spacing, model_.slices * slice);
}

TEST_P(model_row, is_named_in_what_the_package_installs) {
  for (const char* name : {"completion/lumora.bash", "man/lumora_manager.8", "man/lumora_lab.1",
                           "lumora_manager.default"}) {
    std::ifstream file(std::string(FILLED_FOLDER) + "/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_NE(text.str().find(model_.name), std::string::npos) << name;
    EXPECT_EQ(text.str().find("@LUMORA"), std::string::npos) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(models, model_row, testing::ValuesIn(models::names()),
                         [](const auto& of) { return of.param; });

TEST(model_table, tells_an_unknown_name_which_it_knows) {
  for (const char* name : {"", "orva", "Orvalite", "orvalite ", "orvaxl"})
    EXPECT_EQ(products::create_manager(name), nullptr) << name;
  EXPECT_TRUE(test::failure_of([] {
                models::get("orvaxl");
              }).starts_with("unknown product orvaxl; known are orvalite, orvamax, "));
}

}  // namespace
