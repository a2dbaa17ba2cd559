// The life of a peer as the loops see it: connected, identified, subscribed, lost, another one.
#include <gtest/gtest.h>

#include "base/manager/remote/api.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_error.h"
#include "products/control_types_full.h"
#include "tests/support/hand_clock.h"
#include "tests/support/log_capture.h"
#include "tests/support/tree_values.h"
#include "tests/unit/remote/peer_tree.h"

namespace {

using namespace std::chrono_literals;
using plan_t = channel::plan<products::orva_control>;
constexpr unsigned first_channel = 19600000;

class remote_peer : public testing::Test, protected test::on_hand_clock {
 protected:
  remote_peer() {
    plan->add_channel(first_channel, 5000, 1, "1");
    remote = std::make_shared<manager::remote::api>();
  }

  /// One cycle of the manager, half a second apart.
  void cycle(unsigned count = 1) {
    for (; count > 0; --count) {
      remote->run(own, osc, plan);
      helpers::waiting::instance().sleep(500ms);
      network.deliver();
    }
  }

  void serve(test::peer_tree& served) { network.attach(test::peer_tree::address, served.db); }
  void lose_and_regain() {
    network.set_state(test::peer_tree::address, nx::link_state::dead);
    network.deliver();
    network.set_state(test::peer_tree::address, nx::link_state::up);
    cycle(3);
  }

  std::string shown(const std::string& path) { return test::text_of(own, path); }

  nx_db own;
  test::peer_tree peer;
  test::peer_tree other;
  nx::in_process_network network;
  std::shared_ptr<test::fake_osc> osc = std::make_shared<test::fake_osc>();
  std::shared_ptr<plan_t> plan = std::make_shared<plan_t>(768, "tx");
  std::shared_ptr<manager::remote::api> remote;
};

TEST_F(remote_peer, is_known_once_it_is_identified_and_subscribed) {
  const test::log_capture log;
  peer.fill_terminal("ORVA-LITE", {first_channel});
  peer.set("data/line/1/tx/power", 3.5f);
  peer.set("data/client/19600000/tx/ocm/power", -12.0f);
  serve(peer);
  osc->operational = false;
  cycle(2);
  EXPECT_EQ(shown("data/line/1/remoteProduct"), "n/a") << "the values exist from the start";
  EXPECT_EQ(osc->neighbour_reads, 0u) << "the link is down";

  osc->operational = true;
  cycle();
  EXPECT_FALSE(remote->is_known());
  EXPECT_EQ(remote->get_line_tx_power(), 0.0f);
  cycle();
  EXPECT_TRUE(remote->is_known());
  EXPECT_EQ(remote->get_line_tx_power(), 3.5f);
  EXPECT_EQ(remote->get_channel_tx_ocm_power(first_channel), -12.0f);
  EXPECT_EQ(shown("data/line/1/remoteProduct"), "ORVA-LITE");
  EXPECT_EQ(shown("data/line/1/remoteSwVersion"), "7.1");
  EXPECT_EQ(shown("data/line/1/remoteHwRevision"), "B");
  EXPECT_TRUE(log.contains("Remote device product changed from n/a to ORVA-LITE"));

  peer.set("data/line/1/tx/power", 4.0f);
  cycle(200);
  EXPECT_EQ(remote->get_line_tx_power(), 4.0f);
  EXPECT_EQ(log.count("Starting remote subscription."), 1) << "a healthy peer is left alone";

  osc->operational = false;
  cycle();
  EXPECT_TRUE(remote->is_known()) << "a broken link does not touch the connection";
}

TEST_F(remote_peer, keeps_its_last_values_until_the_next_connection_is_identified) {
  peer.fill_terminal("ORVA-LITE", {first_channel});
  peer.set("data/line/1/tx/power", 3.5f);
  serve(peer);
  cycle(3);
  network.set_state(test::peer_tree::address, nx::link_state::dead);
  network.deliver();
  cycle(5);
  EXPECT_TRUE(remote->is_known());
  EXPECT_EQ(remote->get_line_tx_power(), 3.5f);

  const test::log_capture log;
  other.fill_tarn("TARN-TWO");
  other.set("data/spanloss/ots/tx", 17.0f);
  serve(other);
  network.set_state(test::peer_tree::address, nx::link_state::up);
  cycle(4);
  EXPECT_TRUE(remote->is_embedded_ila());
  EXPECT_EQ(remote->get_ots_spanloss_tx(), 17.0f);
  EXPECT_EQ(log.count("Remote device product changed from ORVA-LITE to TARN-TWO"), 1);
}

TEST_F(remote_peer, that_does_not_tell_its_product_is_asked_every_30_seconds) {
  serve(peer);
  const test::log_capture log;
  cycle(2);
  EXPECT_EQ(log.count("function void manager::remote::api::identify_remote()"), 1);
  cycle(60);
  EXPECT_EQ(log.count("Starting remote subscription."), 1) << "30 s are not over";
  cycle(2);
  EXPECT_EQ(log.count("Starting remote subscription."), 2);
  EXPECT_FALSE(remote->is_known());
  EXPECT_EQ(remote->get_line_tx_power(), 0.0f);

  peer.fill_terminal("SELKA-PLUS", {first_channel});
  cycle(62);
  EXPECT_TRUE(remote->is_known());
}

TEST_F(remote_peer, of_an_unlisted_product_is_asked_again_only_on_a_new_connection) {
  peer.fill_terminal("ORVA-NEW", {first_channel});
  serve(peer);
  const test::log_capture log;
  cycle(200);
  EXPECT_EQ(log.count("Starting remote subscription."), 1);
  EXPECT_FALSE(remote->is_known());
  EXPECT_EQ(shown("data/line/1/remoteProduct"), "ORVA-NEW");
  peer.set("data/product", "ORVA-LITE");
  lose_and_regain();
  EXPECT_TRUE(remote->is_known());
}

TEST_F(remote_peer, whose_subscription_fails_is_begun_anew_from_the_connection) {
  peer.fill_terminal("ORVA-LITE");  // without the channel of the plan
  serve(peer);
  const test::log_capture log;
  cycle(2);
  EXPECT_TRUE(log.contains("Failed to subscribe to path: data/client/19600000/tx/peak"));
  EXPECT_FALSE(remote->is_known());
  EXPECT_THROW(remote->get_channel_tx_ocm_power(first_channel), nx_error);
  peer.fill_terminal("ORVA-LITE", {first_channel});
  cycle(3);
  EXPECT_TRUE(remote->is_known());
}

TEST_F(remote_peer, with_a_broken_path_is_subscribed_again_on_the_same_connection) {
  peer.fill_terminal("ORVA-LITE", {first_channel});
  serve(peer);
  cycle(3);
  const test::log_capture log;
  const auto node = peer.db.find("data/line/1/tx/power");
  std::dynamic_pointer_cast<nx_db_event_node>(node)->send_error_event(nx_error(-5, "no reading"));
  peer.set("data/line/1/tx/power", -1.0f);
  cycle(2);
  EXPECT_EQ(remote->get_line_tx_power(), -1.0f);
  EXPECT_EQ(log.count("Starting remote subscription."), 1);
  EXPECT_FALSE(log.contains("Connecting to remote nexel."));
}

}  // namespace
