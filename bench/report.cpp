#include "bench/report.h"

#include <fmt/format.h>

#include <cstdio>

namespace bench {
namespace {

void print_row(const std::string& figure, const std::string& found, const std::string& goal,
               const std::string& reached, const std::string& beside) {
  fmt::print("| {:<64} | {:>10} | {:>9} | {:<6} | {:>13} |\n", figure, found, goal, reached,
             beside);
  std::fflush(stdout);
}

}  // namespace

void print_head() {
  print_row("Figure", "Found", "Goal", "", "of the limit");
  fmt::print("|{:-<66}|{:-<12}|{:-<11}|{:-<8}|{:-<15}|\n", "", "", "", "", "");
}

void print_line(const std::string& figure, const std::string& found, const std::string& goal,
                bool reached, const std::string& beside) {
  print_row(figure, found, goal, reached ? "ok" : "MISSED", beside);
}

}  // namespace bench
