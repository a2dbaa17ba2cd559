// Measures one bar, or tells which there are; tests/soak --bars runs it for all of them, several at
// a time, since managers and plant use process-wide clocks and stores.
//   lumora_bars                    each bar and model on a line
//   lumora_bars BAR MODEL SEED     a line for each figure: bar, model, figure, limit, result and
//   whether
//                                  that is within the bar, a known miss of the law, or missed
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "tests/loops/bars/bar.h"

namespace {

std::string shown(double figure) {
  if (figure >= bars::never) return "never";
  return fmt::format("{:.4g}", std::round(figure * 100.0) / 100.0 + 0.0);
}

const char* judged(const bars::bar& bar, const bars::limit& limit, const std::string& model,
                   double found) {
  if (found <= limit.at_most + bars::rounding) return "within";
  return found <= bars::limit_for(bar, limit, model) ? "known" : "missed";
}

void print_line(const bars::bar& bar, const std::string& model, const bars::limit& limit,
                const std::string& found, const char* verdict) {
  const auto at_most = limit.at_most == bars::any ? "" : shown(limit.at_most);
  fmt::print("{}|{}|{}|{}|{}|{}\n", bar.name, model, limit.what, at_most, found, verdict);
}

void measure(const bars::bar& bar, const std::string& model, std::uint64_t seed) {
  bars::figures found;
  try {
    found = bar.measure(model, seed);
  } catch (const std::exception& error) {
    fmt::print(stderr, "{} on {}: {}\n", bar.name, model, error.what());
  }
  for (std::size_t i = 0; i < bar.limits.size(); ++i) {
    const auto& limit = bar.limits[i];
    if (found.size() != bar.limits.size()) {
      print_line(bar, model, limit, "failed", "missed");
    } else {
      print_line(bar, model, limit, shown(found[i]), judged(bar, limit, model, found[i]));
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const auto all = bars::all_bars();
  if (argc == 1) {
    for (const auto& bar : all) {
      for (const auto& model : bar.models)
        fmt::print("{} {}\n", bar.name, model);
    }
    return 0;
  }
  const auto bar = std::find_if(all.begin(), all.end(), [&](const bars::bar& one) {
    return argc == 4 && one.name == std::string(argv[1]);
  });
  if (bar == all.end()) {
    fmt::print(stderr, "usage: lumora_bars [BAR MODEL SEED]\n");
    return 2;
  }
  measure(*bar, argv[2], std::strtoull(argv[3], nullptr, 10));
  std::fflush(stdout);
  std::_Exit(0);  // loggers and threads of the daemon end with the process
}
