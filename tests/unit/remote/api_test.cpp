// The life of a peer as seen by the loops: connected, identified, subscribed to, lost, replaced.
#include <gtest/gtest.h>

#include "base/manager/remote/api.h"
#include "helpers/waiting.h"
#include "platform/wire/nx_error.h"
#include "products/control_types_full.h"
#include "tests/support/failure.h"
#include "tests/support/hand_clock.h"
#include "tests/support/log_capture.h"
#include "tests/support/tree_values.h"
#include "tests/unit/remote/peer_tree.h"

namespace {

using namespace std::chrono_literals;
using manager::remote::device::operation;
using test::failure_of;
using plan_t = channel::plan<products::orva_control>;
constexpr unsigned first_channel = 19600000;

class remote_peer : public testing::Test, protected test::on_hand_clock {
 protected:
  remote_peer() {
    network.set_clock([this] { return clock->steady_now(); });
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
  peer.fill("ORVA-LITE", {first_channel});
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
  peer.fill("ORVA-LITE", {first_channel});
  peer.set("data/line/1/tx/power", 3.5f);
  serve(peer);
  cycle(3);
  network.set_state(test::peer_tree::address, nx::link_state::dead);
  network.deliver();
  cycle(5);
  EXPECT_TRUE(remote->is_known());
  EXPECT_EQ(remote->get_line_tx_power(), 3.5f);

  const test::log_capture log;
  other.fill("TARN-TWO");
  other.set("data/spanloss/ots/tx", 17.0f);
  serve(other);
  network.set_state(test::peer_tree::address, nx::link_state::up);
  cycle(4);
  EXPECT_TRUE(remote->is_embedded_ila());
  EXPECT_EQ(remote->get_ots_spanloss_tx(), 17.0f);
  EXPECT_EQ(log.count("Remote device product changed from ORVA-LITE to TARN-TWO"), 1);
}

TEST_F(remote_peer, that_does_not_tell_its_product_is_asked_soon_and_then_every_30_seconds) {
  serve(peer);
  const test::log_capture log;
  cycle(2);
  EXPECT_EQ(log.count("function void manager::remote::api::identify_remote()"), 1);
  cycle(10);
  EXPECT_EQ(log.count("Starting remote subscription."), 6) << "once a second, five times";
  cycle(60);
  EXPECT_EQ(log.count("Starting remote subscription."), 6) << "30 s are not over";
  cycle(2);
  EXPECT_EQ(log.count("Starting remote subscription."), 7);
  EXPECT_FALSE(remote->is_known());
  EXPECT_FALSE(remote->is_up());
  EXPECT_EQ(remote->get_line_tx_power(), 0.0f);

  peer.fill("SELKA-PLUS", {first_channel});
  cycle(62);
  EXPECT_TRUE(remote->is_known());
}

TEST_F(remote_peer, of_an_unlisted_product_is_asked_again_only_on_a_new_connection) {
  peer.fill("ORVA-NEW", {first_channel});
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

TEST_F(remote_peer, that_lacks_values_is_used_for_the_others_and_asked_again) {
  peer.fill("ORVA-LITE");  // without the channel of the plan
  peer.remove("data/preamp/plim");
  peer.set("data/preamp/gain", 17.0f);
  serve(peer);
  const test::log_capture log;
  cycle(2);
  EXPECT_TRUE(remote->is_known());
  EXPECT_EQ(remote->get_preamp_gain(), 17.0f);
  EXPECT_EQ(failure_of([&] { remote->get_preamp_power_limit(); }),
            "! -22 No value for path: data/preamp/plim");
  EXPECT_FALSE(remote->known(operation::get_channel_tx_ocm_power, first_channel));
  EXPECT_TRUE(
      log.contains(" paths yet, among them: data/preamp/plim, data/client/19600000/tx/peak, "));

  cycle(120);
  EXPECT_EQ(log.count("Connecting to remote nexel."), 1);
  EXPECT_EQ(log.count("Starting remote subscription."), 1);
  EXPECT_EQ(log.count("on_exception_received(data/preamp/plim)"), 1) << "not at each try";

  peer.fill("ORVA-LITE", {first_channel});
  peer.set("data/preamp/plim", 20.0f);
  cycle(3);
  EXPECT_EQ(remote->get_preamp_power_limit(), 20.0f);
  EXPECT_TRUE(remote->known(operation::get_channel_tx_ocm_power, first_channel));
  EXPECT_EQ(log.count("Starting remote subscription."), 1);
}

TEST_F(remote_peer, whose_value_fails_is_not_known_until_it_tells_it_again) {
  peer.fill("ORVA-LITE", {first_channel});
  serve(peer);
  cycle(3);
  const test::log_capture log;
  const auto node = peer.db.find("data/line/1/tx/power");
  std::dynamic_pointer_cast<nx_db_event_node>(node)->send_error_event(nx_error(-5, "no reading"));
  EXPECT_FALSE(remote->known(operation::get_line_tx_power));
  cycle(20);
  EXPECT_EQ(remote->get_line_tx_power(), 0.0f) << "the last value stays";
  EXPECT_FALSE(remote->known(operation::get_line_tx_power));
  peer.set("data/line/1/tx/power", -1.0f);
  cycle();
  EXPECT_EQ(remote->known(operation::get_line_tx_power)->value, -1.0f);
  EXPECT_EQ(log.count("Starting remote subscription."), 0);
  EXPECT_FALSE(log.contains("Connecting to remote nexel."));
}

TEST_F(remote_peer, whose_channel_goes_and_comes_again_shows_nothing_old) {
  const std::string path = "data/client/19600000/tx/ocm/power";
  peer.fill("ORVA-LITE", {first_channel});
  peer.set(path, -12.0f);
  serve(peer);
  cycle(3);
  peer.remove(path);
  cycle(3);
  EXPECT_EQ(failure_of([&] { remote->get_channel_tx_ocm_power(first_channel); }),
            "! -22 No value for path: " + path);
  peer.set(path, -9.0f);
  cycle(3);
  EXPECT_EQ(remote->get_channel_tx_ocm_power(first_channel), -9.0f);
}

TEST_F(remote_peer, of_another_model_has_nothing_of_the_former_one) {
  peer.fill("ORVA-PRO", {first_channel});
  peer.set("data/preamp/gain", 17.0f);
  peer.set("data/client/19600000/tx/ocm/power", -12.0f);
  serve(peer);
  cycle(3);
  ASSERT_EQ(remote->known(operation::get_preamp_gain)->value, 17.0f);
  other.fill("ORVA-LITE");
  other.remove("data/preamp/gain");
  network.set_state(test::peer_tree::address, nx::link_state::dead);
  network.deliver();
  EXPECT_FALSE(remote->is_up());
  EXPECT_FALSE(remote->known(operation::get_preamp_gain)) << "no write rests on it from here";
  cycle(5);
  EXPECT_EQ(remote->get_preamp_gain(), 17.0f) << "the loops read on";

  serve(other);
  network.set_state(test::peer_tree::address, nx::link_state::up);
  cycle(3);
  EXPECT_TRUE(remote->is_up());
  EXPECT_EQ(failure_of([&] { remote->get_preamp_gain(); }),
            "! -22 No value for path: data/preamp/gain");
  EXPECT_EQ(failure_of([&] { remote->get_channel_tx_ocm_power(first_channel); }),
            "! -22 No value for path: data/client/19600000/tx/ocm/power");
  EXPECT_EQ(failure_of([&] { remote->get_tdcm_dispersion(); }),
            "! -22 No value for path: local/interface/line/1/data/dispersion/rx/tdcm");
}

TEST_F(remote_peer, is_known_by_measurements_alone) {
  EXPECT_FALSE(remote->known(operation::get_preamp_gain)) << "the zeros of no peer";
  peer.fill("ORVA-LITE", {first_channel});
  peer.set("interface/line/1/data/osc/rx/power", -99.0f);
  serve(peer);
  cycle(3);
  EXPECT_EQ(remote->get_osc_rx_power(), -99.0f) << "shown as it is";
  EXPECT_FALSE(remote->known(operation::get_osc_rx_power));
  EXPECT_FALSE(remote->known(operation::get_channel_detection_level)) << "a constant";
  EXPECT_FALSE(remote->known(operation::get_ots_spanloss_tx)) << "a refusal";
  EXPECT_EQ(remote->known(operation::get_channel_tx_peak, first_channel)->value, 1.0f);

  const test::log_capture log;
  peer.set("data/client/tx/edfaSaturation", 500.0f);
  EXPECT_FALSE(remote->known(operation::get_edfa_tx_saturation));
  EXPECT_TRUE(
      log.contains("Guard plausibility begins on peer data/client/tx/edfaSaturation: "
                   "500 is no saturation (0 to 30 dB)"));
}

TEST_F(remote_peer, at_another_address_is_found_while_the_former_does_not_answer) {
  peer.fill("ORVA-LITE", {first_channel});
  osc->neighbour = "fe80::2%osc0";  // nobody there
  serve(peer);
  cycle(4);
  EXPECT_FALSE(remote->is_up());
  osc->neighbour = test::peer_tree::neighbour;
  cycle(5);
  EXPECT_TRUE(remote->is_up());

  const auto reads = osc->neighbour_reads;
  osc->neighbour = "fe80::3%osc0";
  cycle(10);
  EXPECT_EQ(osc->neighbour_reads, reads) << "a connection that is up is left alone";
  EXPECT_TRUE(remote->is_up());
}

TEST_F(remote_peer, that_rests_answers_and_one_that_hangs_does_not) {
  peer.fill("ORVA-LITE", {first_channel});
  serve(peer);
  EXPECT_FALSE(remote->last_answer());
  cycle(200);
  const auto silence = [this] { return clock->steady_now() - *remote->last_answer(); };
  ASSERT_TRUE(remote->last_answer());
  EXPECT_LE(silence(), 5s) << "it has told nothing for a minute";
  network.set_state(test::peer_tree::address, nx::link_state::hung);
  cycle(40);
  EXPECT_TRUE(remote->is_up());
  EXPECT_GE(silence(), 15s);
  network.set_state(test::peer_tree::address, nx::link_state::up);
  cycle(10);
  EXPECT_LE(silence(), 5s);
  network.set_state(test::peer_tree::address, nx::link_state::dead);
  network.deliver();
  EXPECT_FALSE(remote->last_answer());
}

}  // namespace
