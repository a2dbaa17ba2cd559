// Concurrent channel commands from several sessions, and on devices that refuse channels they have:
// the client loop of the selka models between fake devices.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <barrier>
#include <future>
#include <map>
#include <mutex>
#include <vector>

#include "base/manager/leds.h"
#include "base/manager/remote/api.h"
#include "helpers/logger.h"
#include "platform/value_tree/nx_db.h"
#include "platform/value_tree/poll_scheduler.h"
#include "products/control_types_full.h"
#include "products/selka/client_rx.h"
#include "tests/support/failure.h"
#include "tests/support/fake_line_devices.h"
#include "tests/support/log_capture.h"
#include "tests/support/memory_store.h"
#include "tests/support/tree_values.h"

namespace {

using namespace std::chrono_literals;
using loop_type = products::selka::client_rx<products::selka_control>;
using plan_type = channel::plan<products::selka_control>;

constexpr unsigned centre = 19600000;
constexpr unsigned width = 5000;
constexpr unsigned port = 2;

/// Channels of a device, by frequency, with the width that it was told. An add of one that it has
/// is refused.
class channel_table {
 public:
  void add(unsigned frequency, unsigned with_width) {
    const std::lock_guard lock(mutex_);
    ++adds_;
    if (!widths_.try_emplace(frequency, with_width).second) {
      throw nx_error(-5, "Failed to add channel.");
    }
    is_silent_ = std::exchange(falls_silent_, false);
    if (is_silent_) throw nx_client_exception{-110, "No answer within 2 s: device", "add"};
  }
  void remove(unsigned frequency) {
    const std::lock_guard lock(mutex_);
    widths_.erase(frequency);
  }
  /// Does the next add and answers nothing from then on.
  void fall_silent() { falls_silent_ = true; }
  void speak() { is_silent_ = false; }
  bool has(unsigned frequency) const { return !is_silent_ && widths().contains(frequency); }
  std::map<unsigned, unsigned> widths() const {
    const std::lock_guard lock(mutex_);
    return widths_;
  }
  unsigned adds() const {
    const std::lock_guard lock(mutex_);
    return adds_;
  }

 private:
  mutable std::mutex mutex_;
  std::map<unsigned, unsigned> widths_;
  unsigned adds_ = 0;
  bool falls_silent_ = false;
  bool is_silent_ = false;
};

class fake_switch : public test::fake_device<device::interfaces::wss>, public channel_table {
 public:
  void set_attenuation(unsigned, float) override {}
  float get_attenuation(unsigned) override { return 8.0f; }
  void block_channel(unsigned) override {}
  void unblock_channel(unsigned, float) override {}
  bool is_channel_blocked(unsigned) override { return false; }
  float get_min_attenuation() override { return 0.0f; }
  float get_max_attenuation() override { return 25.0f; }
  unsigned get_channel_port(unsigned) override { return port; }
  void add_channel(unsigned frequency, unsigned with_width, unsigned, const std::string&) override {
    add(frequency, with_width);
  }
  void remove_channel(unsigned frequency) override { remove(frequency); }
  void create_channel_plan(const std::string&) override {}
  void remove_all_channels() override { ++cleared; }
  bool is_channel_plan_loaded() override { return true; }
  bool has_channel(unsigned frequency) override { return has(frequency); }
  void subscribe_channel(unsigned) override {}

  unsigned cleared = 0;
};

class fake_monitor : public test::fake_device<device::interfaces::ocm>, public channel_table {
 public:
  float get_total_power() override { return 0.0f; }
  float get_channel_power(unsigned) override { return -10.0f; }
  bool is_channel_detected(unsigned) override { return false; }
  float get_channel_detect_level(unsigned) override { return -40.0f; }
  void set_channel_detect_level(float) override {}
  void add_channel(unsigned frequency, unsigned with_width) override { add(frequency, with_width); }
  void remove_channel(unsigned frequency) override { remove(frequency); }
  void create_channel_plan(const std::string&) override {}
  void remove_all_channels() override {}
  bool is_channel_plan_loaded() override { return true; }
  bool has_channel(unsigned frequency) override { return has(frequency); }
  void subscribe_channel(unsigned) override {}
};

struct channel_adds : testing::Test {
  channel_adds() {
    loop->set_wss(wss);
    loop->set_ocm(ocm);
    loop->set_edfa(booster);
    loop->set_voa(voa);
    loop->set_leds(std::make_shared<manager::leds>());
    loop->setup_api(tree);
  }

  std::string add(unsigned frequency, unsigned with_width = width) {
    return test::failure_of([&] { loop->add_channel(tree, frequency, with_width, port, "R7"); });
  }
  std::string stored() { return kvs_memory::get("{conf}:qz/lumora:channel/plan/rx"); }

  test::memory_store store;
  nx_db tree{std::make_shared<nx::manual_poller>()};
  const std::shared_ptr<plan_type> plan = std::make_shared<plan_type>(772, "rx");
  const std::shared_ptr<fake_switch> wss = std::make_shared<fake_switch>();
  const std::shared_ptr<fake_monitor> ocm = std::make_shared<fake_monitor>();
  test::journal actions;
  const std::shared_ptr<test::fake_edfa> booster =
      std::make_shared<test::fake_edfa>(actions, "booster");
  const std::shared_ptr<test::fake_voa> voa = std::make_shared<test::fake_voa>(actions);
  const std::shared_ptr<loop_type> loop =
      std::make_shared<loop_type>(plan, std::make_shared<manager::remote::api>());
};

TEST_F(channel_adds, of_many_sessions_at_once_enter_one_of_what_overlaps) {
  constexpr unsigned rounds = 100;
  constexpr unsigned sessions = 8;
  // A plan to walk through, so that the tests of one session take their time.
  for (unsigned i = 0; i < 300; ++i)
    ASSERT_EQ(add(19000000 + 1000 * i, 1000), "");
  const auto before = plan->get_channels()->size();
  for (unsigned round = 0; round < rounds; ++round) {
    const unsigned apart = round % 2;  // the same channel, or others that overlap
    const auto adds = wss->adds();
    std::barrier start(sessions);
    std::vector<std::future<std::string>> answers;
    for (unsigned i = 0; i < sessions; ++i) {
      answers.push_back(std::async(std::launch::async, [&, frequency = centre + i * apart] {
        start.arrive_and_wait();
        return add(frequency);
      }));
    }
    unsigned done = 0;
    for (auto& answer : answers)
      done += answer.get().empty() ? 1 : 0;
    EXPECT_EQ(done, apart == 0 ? sessions : 1);
    EXPECT_EQ(wss->adds(), adds + 1);
    ASSERT_EQ(plan->get_channels()->size(), before + 1);
    loop->remove_channel(plan->get_channels()->rbegin()->first);
  }
}

TEST_F(channel_adds, are_repaired_on_devices_that_refuse_a_channel_they_have) {
  const std::string silent = "! -110 No answer within 2 s: device";
  for (channel_table* broken :
       {static_cast<channel_table*>(wss.get()), static_cast<channel_table*>(ocm.get())}) {
    broken->fall_silent();
    EXPECT_EQ(add(centre), silent);
    EXPECT_TRUE(plan->get_channels()->empty());
    broken->speak();
    EXPECT_EQ(add(centre), "");
    EXPECT_EQ(wss->widths(), (std::map<unsigned, unsigned>{{centre, width}}));
    EXPECT_EQ(ocm->widths(), wss->widths());
    loop->remove_channel(centre);
    EXPECT_TRUE(wss->widths().empty() && ocm->widths().empty());
  }
  // What an add left behind is no hindrance for one of another width.
  ocm->fall_silent();
  EXPECT_EQ(add(centre), silent);
  ocm->speak();
  EXPECT_EQ(add(centre, width + 1000), "");
  EXPECT_EQ(wss->widths(), (std::map<unsigned, unsigned>{{centre, width + 1000}}));
  EXPECT_EQ(ocm->widths(), wss->widths());
}

TEST_F(channel_adds, do_not_replace_a_plan_that_could_not_be_loaded) {
  ASSERT_EQ(add(centre), "");
  const std::string broken = R"([{"center_frequency":19500000,"width":0,"port":1}])";
  kvs_memory::set("{conf}:qz/lumora:channel/plan/rx", broken);
  EXPECT_EQ(test::failure_of([&] { loop->setup_channel_plan(tree); }),
            "! -22 Stored channel plan is not usable, no entry is good: entry 1: width 0 is not "
            "within 1 to 482500");
  EXPECT_EQ(wss->cleared, 0u);
  EXPECT_EQ(add(centre), "! -5 Channel plan is not loaded.");
  EXPECT_EQ(test::failure_of([&] { loop->remove_channel(centre); }),
            "! -5 Channel plan is not loaded.");
  EXPECT_EQ(stored(), broken);
  kvs_memory::set("{conf}:qz/lumora:channel/plan/rx", "[]");
  loop->setup_channel_plan(tree);
  EXPECT_EQ(wss->cleared, 1u) << "an empty plan is one";
  EXPECT_EQ(add(19500000), "");
}

TEST_F(channel_adds, and_a_newer_target_at_the_same_moment_leave_the_newer) {
  constexpr const char* target = "config/client/rx/targetOutputPower";
  test::write_to(tree, target, "-4.0");
  const float at_old = voa->attenuation;
  std::future<void> newer;
  note_log::set_observer([&](const note_log::record& record) {
    if (newer.valid() || !record.text.starts_with("TOP UPDATE!")) return;
    logger::instance().level = 3;  // one thread logs at a time, and this one is at it
    newer = std::async(std::launch::async, [&] { test::write_to(tree, target, "-2.0"); });
    // Done by then, if nothing keeps it from coming in between.
    newer.wait_for(100ms);
  });
  EXPECT_EQ(add(centre), "");
  ASSERT_TRUE(newer.valid());
  newer.get();
  logger::instance().level = 2;
  note_log::set_observer({});
  EXPECT_FLOAT_EQ(voa->attenuation, at_old - 2.0f);
}

}  // namespace
