// Storms of clients against a regulating daemon: cycles begin in time, others are answered, and
// what a storm took is given back.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sched.h>

#include <algorithm>

#include "platform/wire/nx_client_exception.h"
#include "tests/support/free_port.h"
#include "tests/system/daemon_pair.h"
#include "tests/system/regulating_node.h"
#include "tests/system/storm.h"

namespace {

using namespace std::chrono_literals;

// A sanitizer keeps what was freed, and takes many times the processor.
constexpr double flat_mib = test::sanitized ? 1e6 : 12.0;
constexpr double slowness = test::sanitized ? 10 : 1;

// What a storm may cost, on a quiet machine and on one core too. A busy machine wakes everybody
// late: the loops, the devices, the sessions and the one who looks. So each of a few hand-overs may
// take as much longer as a thread that does nothing was woken late in the same storm.
constexpr double late_s = 0.2 * slowness;
constexpr double slow_ms = 50 * slowness;
constexpr double handovers = 5;
// Workers of a server come and go; those that large answers took go within seconds.
constexpr unsigned few_threads = 2;

constexpr auto undisturbed = 2s;
constexpr auto storm_time = 2500ms;

struct attack {
  const char* name;
  unsigned threads;
  void (*round)(const std::string& socket);
};

constexpr attack attacks[] = {
    {"connect, subscribe to all, close", 4, test::connect_subscribe_close},
    {"get all, 50 sessions", 50, test::get_everything},
    {"pipelines of info of all, 8 sessions", 8, test::pipeline_info},
};

void tell(const char* what, const test::figures& found) {
  fmt::print("{:<40} {}\n", what, test::text_of(found));
}

/// `attacked`: where the storms go; another client always asks on the node's own socket.
void weather_the_storms(
    test::process& daemon, const std::string& socket, const std::string& attacked,
    const std::function<void()>& before_each = [] {}) {
  const auto calm = test::watch(daemon, socket, undisturbed);
  tell("undisturbed", calm);
  for (const auto& [name, threads, round] : attacks) {
    test::figures found;
    {
      const test::storm raging(threads, [&, round = round] {
        before_each();
        round(attacked);
      });
      try {
        found = test::watch(daemon, socket, storm_time);
      } catch (const nx_client_exception& failure) {
        FAIL() << name << ": " << failure.message << '\n' << daemon.last_lines();
      }
    }
    tell(name, found);
    const double woken_late_ms = handovers * std::max(found.lateness_ms, calm.lateness_ms);
    EXPECT_LT(found.longest_gap_s, calm.longest_gap_s + late_s + woken_late_ms / 1000) << name;
    EXPECT_LT(found.slowest_get_ms, slow_ms + woken_late_ms) << name;
  }
  const auto over = std::chrono::steady_clock::now();
  test::figures now;
  EXPECT_TRUE(test::eventually([&] {
    now = test::watch(daemon, socket, 100ms);
    return now.resident_mib < calm.resident_mib + flat_mib &&
           now.threads <= calm.threads + few_threads;
  }));
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - over;
  tell(fmt::format("{:.1f} s afterwards", passed.count()).c_str(), now);
}

/// Everything that is started meanwhile shares one core.
class one_core {
 public:
  one_core() {
    ::sched_getaffinity(0, sizeof(before_), &before_);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    ::sched_setaffinity(0, sizeof(one), &one);
  }
  ~one_core() { ::sched_setaffinity(0, sizeof(before_), &before_); }
  one_core(const one_core&) = delete;
  one_core& operator=(const one_core&) = delete;

 private:
  cpu_set_t before_{};
};

TEST(storm, on_the_supervisory_link_delays_no_cycle) {
  const auto port = test::free_port();
  if (port == 0) GTEST_SKIP() << "no IPv6 on the loopback";
  test::regulating_node node;
  node.listen_on("lo", port);
  node.bring_up();
  weather_the_storms(node.daemon(), node.daemon_socket(), "::1 " + std::to_string(port));
}

TEST(storm, of_clients_delays_no_cycle_on_one_core) {
  const one_core alone;
  test::regulating_node node;
  node.bring_up();
  weather_the_storms(node.daemon(), node.daemon_socket(), node.daemon_socket());
}

// The other daemon goes on being the neighbour meanwhile.
TEST(storm, from_the_neighbours_host_delays_no_cycle) {
  auto link = test::supervisory_link::make();
  if (!link || !link->lets_threads_in()) GTEST_SKIP() << "no network namespaces to go into";
  test::daemon_pair pair(std::move(link));
  pair.bring_up();
  weather_the_storms(pair.daemon(0), pair.daemon_socket(0), "fe80::1%osc0 5100",
                     [&] { pair.link().take_thread_to(1); });
  EXPECT_EQ(pair.off_target(test::rest_db), "");
}

}  // namespace
