#include "main/options.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr const char* help_text =
    "Available options:\n"
    "  --help                                Print help message\n"
    "  -p [ --port ] arg (=5100)             listening socket port number (default \n"
    "                                        value: port\n"
    "  -i [ --interface_name ] arg (=eth_sfp_1)\n"
    "                                        name of the osc ethernet interface \n"
    "                                        default: interface_name\n"
    "  -d [ --product ] arg (=orvalite)      name of the product running the \n"
    "                                        manager, default: product\n"
    "\n";

struct outcome {
  std::optional<options> given;
  std::string printed;
};

outcome parse(std::vector<const char*> words) {
  words.insert(words.begin(), "lumora_manager");
  testing::internal::CaptureStdout();
  auto given = parse_options(static_cast<int>(words.size()), words.data());
  return {std::move(given), testing::internal::GetCapturedStdout()};
}

TEST(options, accepted_command_lines) {
  struct {
    std::vector<const char*> words;
    options expected;
  } const table[] = {
      {{}, {5100, "eth_sfp_1", "orvalite"}},
      {{"-p", "5200", "-i", "osc0", "-d", "selkamin"}, {5200, "osc0", "selkamin"}},
      {{"--port=1", "--interface_name", "lo", "--product", "no such"}, {1, "lo", "no such"}},
      {{"--prod", "orvapro"}, {5100, "eth_sfp_1", "orvapro"}},
  };
  for (const auto& row : table) {
    const auto [given, printed] = parse(row.words);
    ASSERT_TRUE(given) << printed;
    EXPECT_EQ(given->port, row.expected.port);
    EXPECT_EQ(given->interface_name, row.expected.interface_name);
    EXPECT_EQ(given->product, row.expected.product);
    EXPECT_EQ(printed, "");
  }
}

TEST(options, anything_else_prints_the_help) {
  const std::vector<const char*> table[] = {
      {"--help"},           {"--help", "-d", "orvapro"},
      {"--port", "many"},   {"--port", "70000"},
      {"--port"},           {"--unknown"},
      {"-p", "1", "stray"}, {"-p", "1", "-p", "2"},
  };
  for (const auto& words : table) {
    const auto [given, printed] = parse(words);
    EXPECT_FALSE(given) << words.front();
    EXPECT_EQ(printed, help_text) << words.front();
  }
}

}  // namespace
