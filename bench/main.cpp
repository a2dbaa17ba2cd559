// lumora_bench_server: the speed of the daemon's server compared with the limit of a socket and
// with a key store. Prints a table; bench/run builds and calls it.
#include <fmt/format.h>

#include <cstdlib>
#include <exception>

#include "bench/child.h"
#include "bench/report.h"
#include "bench/socket_rounds.h"
#include "tests/support/temp_folder.h"

namespace {

constexpr unsigned all_rounds = 7;

}  // namespace

int main(int argc, char** argv) try {
  const auto rounds = argc > 1 ? static_cast<unsigned>(std::atoi(argv[1])) : all_rounds;
  bench::pin_to_one_core();
  const test::temp_folder folder;
  bench::print_head();
  return bench::compare_servers(folder.path(), rounds, argc > 2 ? argv[2] : "") ? 0 : 1;
} catch (const std::exception& failure) {
  fmt::print(stderr, "lumora_bench_server: {}\n", failure.what());
  return 2;
}
