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

TEST(options, are_taken_or_the_help_is_printed) {
  struct {
    std::vector<const char*> words;
    std::optional<options> expected;
  } const table[] = {
      {{}, options{5100, "eth_sfp_1", "orvalite"}},
      {{"-p", "5200", "-i", "osc0", "-d", "selkamin"}, options{5200, "osc0", "selkamin"}},
      {{"--port=1", "--interface_name", "lo", "--prod", "no such"}, options{1, "lo", "no such"}},
      {{"--help", "-d", "orvapro"}, {}},
      {{"--port", "70000"}, {}},
      {{"--unknown"}, {}},
      {{"-p", "1", "stray"}, {}},
      {{"-p", "1", "-p", "2"}, {}},
  };
  for (auto [words, expected] : table) {
    words.insert(words.begin(), "lumora_manager");
    testing::internal::CaptureStdout();
    const auto given = parse_options(static_cast<int>(words.size()), words.data());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected ? "" : help_text) << words.back();
    ASSERT_EQ(given.has_value(), expected.has_value()) << words.back();
    if (!given) continue;
    EXPECT_EQ(std::tie(given->port, given->interface_name, given->product),
              std::tie(expected->port, expected->interface_name, expected->product));
  }
}

}  // namespace
