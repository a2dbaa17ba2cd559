// A device service that answers nonsense, or late: another type, "NaN" as text, an impossible
// number, each answer after a second. Nonsense moves no light, and the loops recover once the
// service makes sense again.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "platform/wire/json_conversion.h"
#include "tests/loops/channel_watch.h"
#include "tests/support/plant_node.h"

namespace {

using namespace std::chrono_literals;
using test::channel_watch;
using test::plant_node;

/// Sends the same JSON to every reader and subscriber.
class told_value : public nx_db_event_node {
 public:
  told_value(const std::string& name, const char* json) : nx_db_event_node(name), json_(json) {}

  void get(const std::string& path, nx::json_allocator& allocator,
           nx::json_value& result) override {
    result.AddMember(nx::to_json(path, allocator), value(allocator), allocator);
  }
  void subscribe(std::shared_ptr<nx_session> session, const std::string& path,
                 nx::json_allocator& allocator, nx::json_value& result,
                 std::unique_lock<std::recursive_mutex>& lock) override {
    nx_db_event_node::subscribe(session, path, allocator, result, lock);
    get(path, allocator, result);
    auto event = create_value_changed_event(std::string(path));
    event.AddMember("value", value(event.GetAllocator()), event.GetAllocator());
    send_event_to_session_impl(std::move(event), true, session);
  }

 private:
  nx::json_value value(nx::json_allocator& allocator) const {
    return nx::json_value(nx::parse_json(json_), allocator);
  }

  std::string json_;
};

/// Repeats another node's values, a second later.
class late_value : public nx_db_leaf_node {
 public:
  late_value(const std::string& name, std::shared_ptr<nx_db_leaf_node> told,
             test::hand_clock& clock)
      : nx_db_leaf_node(name), told_(std::move(told)), clock_(clock) {}

  void get(const std::string& path, nx::json_allocator& allocator,
           nx::json_value& result) override {
    clock_.sleep_in_call(1s);
    told_->get(path, allocator, result);
  }

 private:
  std::shared_ptr<nx_db_leaf_node> told_;
  test::hand_clock& clock_;
};

struct reading {
  const char* device;
  const char* path;
};

// What client RX and the line regulate by.
constexpr reading readings[] = {
    {"wss_edge", "data/ocm/1/channel/19140000/powerLevel"},
    {"wss_edge", "data/ocm/1/channel/19140000/detected"},
    {"wss_edge", "data/wss/1/channel/19140000/attenuation"},
    {"wss_edge", "data/ocm/1/totalPower"},
    {"booster", "data/powerLimit"},
    {"booster", "data/txPower"},
    {"booster", "data/actualGain"},
    {"preamp", "data/rxPower"},
    {"osc1", "data/fiberLength"},
    {"voa_sfp", "data/attenuation"},
};
constexpr const char* nonsense[] = {R"("NaN")", "3e38", "-1e300", "[]"};

class nonsense_device : public testing::Test {
 protected:
  plant_node node_{"orvalite"};
};

TEST_F(nonsense_device, moves_no_light_and_is_believed_again_once_it_tells_sense) {
  node_.start();
  node_.run_for(6min);
  auto& plant = node_.plant();
  const auto channel = node_.channels()[5];
  for (const auto& [device, path] : readings) {
    auto& tree = plant.nexel_tree(device);
    const auto good = tree.find(path);
    ASSERT_TRUE(good) << path;
    const auto [name, parent] = nx_db::split_path(path);
    for (const char* told : nonsense) {
      SCOPED_TRACE(fmt::format("{} of {} tells {}", path, device, told));
      const channel_watch add(node_, sim::direction::rx);
      const channel_watch drop(node_, sim::direction::tx);
      const auto voa_writes = plant.voa_writes(0);
      tree.add_node(parent, std::make_shared<told_value>(name, told));
      node_.run_for(15s);
      EXPECT_EQ(add.all_steps(), 0u);
      EXPECT_EQ(drop.all_steps(), 0u);
      EXPECT_EQ(plant.voa_writes(0), voa_writes);
      tree.add_node(parent, good);
      EXPECT_TRUE(node_.run_until([&] { return node_.is_fully_operational(); }, 15s));
    }
    node_.disturb(channel, 1.5);
    EXPECT_TRUE(node_.run_until([&] { return node_.on_target(channel); }, 15s)) << path;
    node_.disturb(channel, -1.5);
    node_.run_for(30s);
    EXPECT_TRUE(node_.all_on_target()) << path;
  }
}

TEST_F(nonsense_device, that_answers_late_makes_cycles_longer_and_no_more) {
  node_.start();
  node_.run_for(6min);
  // Read by the loops in each cycle but by no poller, which would use a separate thread.
  auto& tree = node_.plant().nexel_tree("wss_edge");
  for (const std::string path : {"data/moduleStatus", "data/wss/1/channel/19140000/port"}) {
    const auto node = tree.find(path);
    ASSERT_TRUE(node) << path;
    const auto [name, parent] = nx_db::split_path(path);
    tree.add_node(parent, std::make_shared<late_value>(name, node, node_.clock()));
  }
  const channel_watch add(node_, sim::direction::rx);
  const auto channel = node_.channels()[5];
  node_.run_for(1min);
  EXPECT_EQ(add.all_steps(), 0u);
  node_.disturb(channel, 3.0);
  EXPECT_TRUE(node_.run_until([&] { return node_.on_target(channel); }, 2min));
  EXPECT_EQ(add.all_steps(), add.steps(channel));
  EXPECT_TRUE(node_.is_fully_operational());
}

}  // namespace
