// The connection to the peer: when it is made, kept and given up.
#include <gtest/gtest.h>

#include "base/manager/remote/client.h"
#include "platform/wire/nx_error.h"
#include "tests/support/log_capture.h"
#include "tests/unit/remote/peer_tree.h"

namespace {

class peer_connection : public testing::Test {
 protected:
  peer_connection() {
    peer.set("data/product", "ORVA-LITE");
    network.attach(test::peer_tree::address, peer.db);
  }

  void connect() { client->connect(own, osc); }

  std::int32_t code_of_read() {
    try {
      client->get("data/product");
      return 0;
    } catch (const nx_error& error) {
      return error.code;
    }
  }

  test::peer_tree peer;
  nx_db own;
  nx::in_process_network network;
  std::shared_ptr<test::fake_osc> osc = std::make_shared<test::fake_osc>();
  std::shared_ptr<manager::remote::client> client = std::make_shared<manager::remote::client>();
};

TEST_F(peer_connection, is_up_from_its_event_on_and_never_used_again_once_lost) {
  EXPECT_EQ(code_of_read(), -5);
  connect();
  EXPECT_FALSE(client->connected) << "up before the event";
  network.deliver();
  EXPECT_TRUE(client->connected);
  EXPECT_EQ(client->get("data/product"), "ORVA-LITE");

  network.set_state(test::peer_tree::address, nx::link_state::dead);
  network.deliver();
  EXPECT_FALSE(client->connected);
  network.set_state(test::peer_tree::address, nx::link_state::up);
  network.deliver();
  EXPECT_FALSE(client->connected) << "the old connection came back by itself";
  EXPECT_EQ(code_of_read(), -5);

  connect();
  network.deliver();
  EXPECT_TRUE(client->connected);
  EXPECT_EQ(osc->neighbour_reads, 2u);
  client->disconnect();
  EXPECT_FALSE(client->connected);
  EXPECT_EQ(code_of_read(), -5);
}

TEST_F(peer_connection, takes_the_address_apart_at_its_first_percent_sign) {
  network.attach("[fe80::2%osc%1]:5100", peer.db);
  for (const char* invalid : {"", "fe80::2", "n/a"}) {
    osc->neighbour = invalid;
    connect();
    EXPECT_EQ(code_of_read(), -5) << invalid;
  }
  osc->neighbour = "fe80::2%osc%1";
  connect();
  network.deliver();
  EXPECT_TRUE(client->connected);
}

}  // namespace
