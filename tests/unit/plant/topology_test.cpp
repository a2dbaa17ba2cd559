// Topology files: errors reported for faulty ones, and the shipped ones match the defaults.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "sim/plant.h"
#include "sim/plant/topology_json.h"
#include "tests/support/failure.h"

namespace {

using namespace sim;

TEST(topology, faults_name_the_place_what_was_found_and_what_is_accepted) {
  const std::pair<const char*, std::string> table[] = {
      {R"({"nodes":[{"booster":{"gain":26}}]})", ""},
      {R"({"nodes":[{"booster":{"gain":26.5}}]})",
       "nodes[0].booster.gain: found 26.5, accepted is a number from 15 to 26 dB"},
      {R"({"nodes":[{"booster":{"gain":"high"}}]})",
       "nodes[0].booster.gain: found string, accepted is a number from 15 to 26 dB"},
      {R"({"nodes":[{"boster":{}}]})",
       "nodes[0].boster: found an unknown name, accepted is one of product, partNumber,"},
      {R"({"nodes":[{"product":"orvaxl"}]})", "product: found 'orvaxl', accepted are orvalite, "},
      {R"({"nodes":[{},{},{}]})",
       "nodes: found 3 elements, accepted is an array of one or two objects"},
      {R"({"seed":-1,"nodes":[{}]})", "seed: found -1, accepted is an integer, 0 or more"},
      {R"({"nodes":[{"product":"orvalite"},{"product":"orvamax"}]})",
       "nodes: found orvalite facing orvamax, accepted are products with the same channels"},
      {R"({"nodes":[{"lit":"some"}]})",
       R"(nodes[0].lit: found "some", accepted is "all", "none" or an array of channels)"},
      {R"({"nodes":[{"lit":[19140000,19145000]}]})",
       "nodes[0].lit: found 19145000, accepted are the channels 19140000 to 19605000"},
      {R"({"nodes":[{}],"fibres":[{"length":140,"loss":0.25}]})",
       "fibres[0].span loss: found 36 dB, accepted is 1 to 28 dB"},
      {R"({"nodes":[{}],"fibres":[{"loss":0.1}]})",
       "fibres[0].loss: found 0.1, accepted is a number from 0.17 to 0.28 dB/km"},
      {R"({"nodes":[{})", "not JSON at byte 12: "},
  };
  for (const auto& [text, fault] : table) {
    const auto told = test::failure_of([&, json = text] { read_topology(json); });
    EXPECT_EQ(told.substr(0, fault.size()), fault) << text;
    EXPECT_EQ(told.empty(), fault.empty()) << told;
  }
}

TEST(topology, values_of_a_file_stand_over_the_products_defaults) {
  topology what = read_topology(R"({"nodes":[{"product":"orvamax","lit":[19210000],
      "addSwitch":{"step":0.5}}],"fibres":[{"length":50,"raman":false}]})");
  EXPECT_EQ(what.nodes[0].add_switch.step_db, 0.5);
  EXPECT_EQ(what.nodes[0].drop_switch.step_db, 0.1);
  EXPECT_EQ(what.nodes[0].booster.gain_db, default_node("orvamax").booster.gain_db);
  EXPECT_EQ(what.nodes[0].lit, std::vector<unsigned>{19210000});
  EXPECT_EQ(what.fibres[0].span_loss_db(), 11.0);
  EXPECT_EQ(what.fibres[1].length_km, 50.0) << "one fibre told is told for both";
  EXPECT_FALSE(what.fibres[1].raman);
  what.nodes[0].booster_monitor.period_s = 0.0;
  EXPECT_THROW(plant one(what), topology_error);
}

TEST(topology, shipped_files_are_accepted_and_their_boards_agree) {
  for (const auto& product : models::names()) {
    SCOPED_TRACE(product);
    const topology what = load_topology(std::string(TOPOLOGY_FOLDER) + "/" + product + ".json");
    EXPECT_EQ(what.nodes.front().product, product);
    std::ifstream file(std::string(BOARD_FOLDER) + "/" + product + "/lumora.conf");
    std::ostringstream board;
    board << file.rdbuf();
    EXPECT_EQ(board.str(), plant(what).board_file())
        << "renew it with: lumora_sim --print-board sim/topologies/" << product << ".json";
  }
}

}  // namespace
