// lumora_bench_daemon: what the whole daemon costs with a full band. Prints the rest of the table
// that lumora_bench_server begins.
#include <fmt/format.h>

#include <exception>

#include "bench/daemon_figures.h"

int main() try {
  return bench::daemon_figures().measure() ? 0 : 1;
} catch (const std::exception& failure) {
  fmt::print(stderr, "lumora_bench_daemon: {}\n", failure.what());
  return 2;
}
