#include "bench/measure.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "bench/child.h"

namespace bench {
namespace {

using clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds warm_up{30};
constexpr std::chrono::milliseconds duration{250};

std::vector<double> repeat(std::chrono::milliseconds how_long,
                           const std::function<void()>& operation) {
  std::vector<double> times_us;
  times_us.reserve(200'000);
  const auto end = clock::now() + how_long;
  for (auto before = clock::now(); before < end;) {
    operation();
    const auto after = clock::now();
    times_us.push_back(std::chrono::duration<double, std::micro>(after - before).count());
    before = after;
  }
  return times_us;
}

double p99(std::vector<double>& values) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(values.size() * 99 / 100);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

}  // namespace

sample measure(pid_t server, unsigned parts, const std::function<void()>& operation) {
  repeat(warm_up, operation);
  const auto used = [&] { return cpu_time(server) + cpu_time(::getpid()); };
  const auto before = used();
  auto times_us = repeat(duration, operation);
  const std::chrono::duration<double> spent = used() - before;
  return {static_cast<double>(times_us.size() * parts) / spent.count(), p99(times_us)};
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace bench
