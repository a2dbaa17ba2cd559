// A day of channel commands on a node with channels by command, in plant time and with a fixed
// seed: during the commands, devices and the store are away, the daemon restarts, and devices lose
// their channels. Whatever the answer was, repeating the command on a healthy node has its full
// effect. LUMORA_SOAK_DAYS sets the number of days.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <random>

#include "tests/loops/channel_places.h"
#include "tests/support/failure.h"
#include "tests/support/process_figures.h"

namespace {

using namespace std::chrono_literals;

// Errors of monitor and tap, dead band and repeatability of the switch, together.
constexpr double rest_db = 0.85;
constexpr unsigned rest_steps = 4;
// Channels above this can be added but not removed.
constexpr unsigned highest_removable = 19613125;
// Of the heap: the number of channels in the evening accounts for 1 MiB.
constexpr double flat_mib = 2.0;

class command_soak : public testing::Test {
 protected:
  command_soak() {
    node_.face_itself();
    node_.start();
    for (const auto channel : node_.channels()) {
      if (channel <= highest_removable) exists_[channel] = false;
    }
  }

  void run_day(unsigned day) {
    SCOPED_TRACE(fmt::format("day {}", day));
    random_.seed(day);
    story_.clear();
    constexpr unsigned incidents = 60;
    for (unsigned i = 0; i < incidents && !HasFailure(); ++i) {
      run_incident();
      node_.run_for(std::chrono::seconds(1 + below(40)));
    }
    node_.run_for(3min);
    expect_what_was_asked_for();
    expect_rest();
    fmt::print("day {:3}: {} commands, {} refused, {} switch writes, {:.2f} MiB in use\n", day,
               commands_, refused_, switch_writes(), test::heap_in_use_mib());
    std::fflush(stdout);
    node_.take_log();
  }

  void run_incident() {
    switch (below(8)) {
      case 0:
        note("restart");
        node_.restart();
        for (const auto& [channel, there] : exists_) {
          if (there) node_.regulate(channel);
        }
        return;
      case 1: {
        const char* device = below(2) == 0 ? "wss" : "ocm";
        note(fmt::format("{} forgets", device));
        return node_.plant().forget_channels(0, device);
      }
      case 2:
      case 3:
        return command_in(draw_fault());
      default:
        return command_in({});
    }
  }

  struct fault {
    std::string name;
    std::function<void()> begin = [] {};
    std::function<void()> end = [] {};
  };

  fault draw_fault() {
    constexpr const char* devices[] = {"wss", "ocm", "booster", "preamp", "store"};
    constexpr sim::nexel_state states[] = {sim::nexel_state::killed, sim::nexel_state::hung,
                                           sim::nexel_state::refusing};
    const std::string device = devices[below(std::size(devices))];
    const auto state = states[below(std::size(states))];
    if (device == "store") {
      return {"store away", [] { kvs_memory::set_available(false); },
              [] { kvs_memory::set_available(true); }};
    }
    const auto set = [this, device](sim::nexel_state to) {
      node_.plant().set_nexel_state(0, device, to);
    };
    return {fmt::format("{} {}", device, static_cast<int>(state)), [=] { set(state); },
            [=] { set(sim::nexel_state::ok); }};
  }

  /// Adds or removes a channel while something is away, and repeats the command once it is back.
  void command_in(const fault& around) {
    auto& [channel, there] = *std::next(exists_.begin(), below(unsigned(exists_.size())));
    const bool add = !there;
    around.begin();
    if (!around.name.empty()) node_.run_for(std::chrono::seconds(below(5)));
    const auto first = give(channel, add);
    note(fmt::format("{} {}: {}; {}", add ? "add" : "remove", channel, first, around.name));
    if (!around.name.empty()) node_.run_for(std::chrono::seconds(below(20)));
    around.end();
    node_.run_for(10s);
    if (first != "ok") ++refused_;
    EXPECT_TRUE(first == "ok" || !around.name.empty()) << story_;
    // Even if the answer was ok: a removal does not wait for a device that is away.
    if (!around.name.empty()) {
      EXPECT_EQ(give(channel, add), "ok") << story_;
    }
    there = add;
    if (add) node_.regulate(channel);
  }

  std::string give(unsigned channel, bool add) {
    ++commands_;
    const auto failure = test::failure_of([&] {
      if (add) {
        node_.run("command/channel/add",
                  fmt::format(R"({{"center":{},"width":10000,"port":2}})", channel));
      } else {
        node_.run("command/channel/remove",
                  fmt::format(R"({{"center":{},"direction":"both"}})", channel));
      }
    });
    return failure.empty() ? "ok" : failure;
  }

  void expect_what_was_asked_for() {
    std::string index;
    for (const auto& [channel, there] : exists_) {
      EXPECT_EQ(test::places_of(node_, channel), there ? "smp|smp" : "|") << channel << story_;
      if (there) index += fmt::format("{}{}", index.empty() ? "" : ",", channel);
      if (there) {
        EXPECT_LT(std::fabs(node_.true_error(channel)), rest_db) << channel << story_;
      }
    }
    EXPECT_EQ(node_.text("data/channel/index"), '[' + index + ']') << story_;
  }

  void expect_rest() {
    const auto writes = switch_writes();
    node_.run_for(10min);
    EXPECT_LE(switch_writes(), writes + rest_steps) << story_;
  }

  unsigned switch_writes() {
    return node_.plant().switch_writes(0, sim::direction::rx) +
           node_.plant().switch_writes(0, sim::direction::tx);
  }

  void note(const std::string& what) {
    story_ += fmt::format("\n{} s: {}", node_.now() / 1s, what);
  }
  unsigned below(std::size_t count) { return static_cast<unsigned>(random_() % count); }

  test::plant_node node_{"selkaplus"};
  std::map<unsigned, bool> exists_;
  std::mt19937 random_;
  std::string story_;
  unsigned commands_ = 0;
  unsigned refused_ = 0;
};

TEST_F(command_soak, ends_with_the_channels_that_were_asked_for) {
  const char* setting = std::getenv("LUMORA_SOAK_DAYS");
  const unsigned days = setting != nullptr ? static_cast<unsigned>(std::atoi(setting)) : 1;
  run_day(1);
  const auto heap_before = test::heap_in_use_mib();
  for (unsigned day = 2; day <= days && !HasFailure(); ++day)
    run_day(day);
  EXPECT_LT(test::heap_in_use_mib(), heap_before + flat_mib);
}

}  // namespace
