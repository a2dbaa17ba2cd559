// A daemon at the limits of its resources: memory, tasks, answers that nobody takes, an endless
// store, a terminal that closes.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "platform/nexel_client/line_client.h"
#include "platform/wire/nx_client_exception.h"
#include "tests/support/fake_store.h"
#include "tests/support/process_figures.h"
#include "tests/system/regulating_node.h"
#include "tests/system/storm.h"

namespace {

using namespace std::chrono_literals;

using test::sanitized;

// What the service of the package is given.
constexpr double unit_memory_mib = 384;

/// Asks for 8 MiB in one line.
std::string large_batch() {
  const std::string get = R"({"jsonrpc":"2.0","id":1,"method":"get","params":{"path":"**"}})";
  std::string batch = "[" + get;
  for (int i = 1; i < 100; ++i)
    batch += ',' + get;
  return batch + "]\n";
}

using clients = std::vector<std::unique_ptr<nx::line_client>>;

clients ask_and_never_read(const test::regulating_node& node, unsigned count) {
  clients mute;
  for (unsigned i = 0; i < count; ++i) {
    mute.push_back(nx::line_client::connect_unix(node.daemon_socket()));
    mute.back()->send_raw(large_batch());
  }
  return mute;
}

double status_of(pid_t pid, const std::string& what) {
  std::ifstream status(fmt::format("/proc/{}/status", pid));
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(what)) return std::stod(line.substr(what.size()));
  }
  return 0;
}

TEST(limits, answers_that_nobody_takes_stay_within_the_memory_of_the_service) {
  test::regulating_node node;
  node.bring_up();
  const auto mute = ask_and_never_read(node, 100);
  const auto seen = test::watch(node.daemon(), node.daemon_socket(), 6s);
  fmt::print("100 clients that ask for 8 MiB and never read: {}\n", test::text_of(seen));
  EXPECT_TRUE(sanitized || seen.resident_mib < unit_memory_mib / 2) << seen.resident_mib;
  EXPECT_TRUE(node.serves());
}

TEST(limits, without_memory_the_daemon_says_so_and_ends) {
  if (sanitized) GTEST_SKIP() << "a sanitizer takes address space as it likes";
  test::regulating_node node;
  node.bring_up();
  const auto bytes = static_cast<rlim_t>(status_of(node.daemon().pid(), "VmData:")) * 1024;
  const rlimit little{bytes + 4 * 1024 * 1024, bytes + 4 * 1024 * 1024};
  ASSERT_EQ(::prlimit(node.daemon().pid(), RLIMIT_DATA, &little, nullptr), 0);
  const auto mute = ask_and_never_read(node, 3);
  EXPECT_EQ(node.daemon().wait_for_exit(), 2) << node.daemon().last_lines();
  EXPECT_NE(node.daemon().output().find("out of memory, ending"), std::string::npos);
}

/// A control group of the system's that a process is put into, with one limit: in `file` of the
/// controller's own tree, or in `unified_file` of the tree that all controllers share.
class control_group {
 public:
  control_group(pid_t pid, const std::string& controller, const char* file,
                const char* unified_file, std::size_t limit) {
    const std::string root = "/sys/fs/cgroup";
    holds_ = confine(pid, root + "/" + controller, file, limit) ||
             confine(pid, root, unified_file, limit);
  }
  /// The process has ended by then.
  ~control_group() {
    std::error_code ignored;
    if (holds_) std::filesystem::remove(folder_, ignored);
  }
  control_group(const control_group&) = delete;
  control_group& operator=(const control_group&) = delete;
  bool holds() const { return holds_; }

 private:
  bool confine(pid_t pid, const std::string& root, const char* file, std::size_t limit) {
    folder_ = fmt::format("{}/lumora_limits_{}", root, pid);
    std::error_code failed;
    if (!std::filesystem::create_directory(folder_, failed) || failed) return false;
    const bool is_limited = std::filesystem::exists(fmt::format("{}/{}", folder_, file)) &&
                            write(file, limit) && write("cgroup.procs", pid);
    if (!is_limited) std::filesystem::remove(folder_, failed);
    return is_limited;
  }
  template <class Number>
  bool write(const char* file, Number number) const {
    std::ofstream stream(fmt::format("{}/{}", folder_, file));
    stream << number << std::flush;
    return stream.good();
  }

  std::string folder_;
  bool holds_ = false;
};

// As the service manager limits it: the daemon's pages from now on, then it is killed and started
// anew.
TEST(limits, beyond_its_memory_the_daemon_is_killed_and_its_successor_regulates) {
  std::unique_ptr<control_group> confined;
  test::regulating_node node;
  node.bring_up();
  constexpr std::size_t few_bytes = 8 * 1024 * 1024;
  confined = std::make_unique<control_group>(node.daemon().pid(), "memory", "memory.limit_in_bytes",
                                             "memory.max", few_bytes);
  if (!confined->holds()) GTEST_SKIP() << "no control groups of one's own here";
  constexpr int killed = 128 + SIGKILL;
  {
    const auto mute = ask_and_never_read(node, 20);
    EXPECT_EQ(node.daemon().wait_for_exit(), killed) << node.daemon().last_lines();
  }
  node.start_and_await();
  node.release();
  EXPECT_EQ(node.correct_a_disturbance(node.plant().channels()[9]), "");
  EXPECT_EQ(test::fault_of_end(node.daemon()), "");
}

TEST(limits, without_further_tasks_the_daemon_goes_on_with_those_it_has) {
  std::unique_ptr<control_group> confined;
  test::regulating_node node;
  node.bring_up();
  const auto pid = node.daemon().pid();
  const auto tasks = static_cast<std::size_t>(status_of(pid, "Threads:"));
  confined = std::make_unique<control_group>(pid, "pids", "pids.max", "pids.max", tasks);
  if (!confined->holds()) GTEST_SKIP() << "no control groups of one's own here";
  {
    const test::storm raging(20, [&] { test::get_everything(node.daemon_socket()); });
    const auto seen = test::watch(node.daemon(), node.daemon_socket(), 3s);
    fmt::print("no thread more than at rest: {}\n", test::text_of(seen));
    EXPECT_TRUE(node.daemon().wait_for("No further worker thread")) << node.daemon().last_lines();
  }
  EXPECT_EQ(node.correct_a_disturbance(node.plant().channels()[9]), "");
  EXPECT_EQ(test::fault_of_end(node.daemon()), "");
}

TEST(limits, the_end_of_its_terminal_and_stray_signals_are_none_of_the_daemon) {
  test::regulating_node node;
  node.start_surroundings();
  node.start_and_await();
  for (const int stray : {SIGHUP, SIGPIPE, SIGUSR1, SIGUSR2})
    node.daemon().signal(stray);
  EXPECT_TRUE(test::eventually([&] { return node.serves(); }));
  EXPECT_EQ(test::fault_of_end(node.daemon()), "");
}

TEST(limits, a_store_without_end_holds_up_no_stop) {
  test::regulating_node node;
  const auto path = node.root().file("drip.sock");
  auto settings = node.daemon_settings();
  settings.environment["KVS_URL"] = "unix://" + path;
  std::filesystem::create_directories(node.root().path());
  const test::fake_store dripping(path, [](int connection) {
    while (test::fake_store::give(connection, "+"))
      std::this_thread::sleep_for(50ms);
  });
  test::process daemon(settings);
  EXPECT_TRUE(daemon.wait_for("no answer within 1.0 s")) << daemon.last_lines();
  EXPECT_EQ(test::fault_of_end(daemon), "");
}

}  // namespace
