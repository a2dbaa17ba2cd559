// lumora_bench_daemon: what the whole daemon costs with a full band. Prints the rest of the table
// that lumora_bench_server begins; of it a part alone, "late", "adds" (of those that are late),
// "rest" or "pages".
#include <fmt/format.h>

#include <exception>
#include <string>

#include "bench/daemon_figures.h"
#include "bench/gateway_figures.h"
#include "bench/late_figures.h"

int main(int argc, char** argv) try {
  const std::string only = argc > 1 ? argv[1] : "";
  bench::daemon_figures figures;
  const auto wanted = [&](const char* part) { return only.empty() || only == part; };
  bool reached = true;
  if (wanted("late") || wanted("adds")) reached = bench::measure_late_nodes(only);
  if (wanted("rest")) reached = figures.measure() && reached;
  if (wanted("pages")) reached = bench::measure_gateway() && reached;
  return reached ? 0 : 1;
} catch (const std::exception& failure) {
  fmt::print(stderr, "lumora_bench_daemon: {}\n", failure.what());
  return 2;
}
