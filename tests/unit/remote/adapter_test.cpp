// What each family of peers offers: every getter either reads a value that the family's own
// subscription brings, or refuses with a text of its own.
#include <gtest/gtest.h>

#include <set>

#include "base/manager/remote/peer_products.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "tests/support/failure.h"
#include "tests/support/hand_clock.h"
#include "tests/unit/remote/peer_tree.h"

namespace {

using manager::remote::device::interface;
using manager::remote::device::operation;
using manager::remote::device::row_of;
using manager::remote::device::scope;
using subscriber_ptr = std::shared_ptr<device::subscriber>;

constexpr unsigned channel = 19600000;

std::string part_of(scope of) {
  if (of == scope::channel) return std::to_string(channel);
  return of == scope::direction ? "tx" : "";
}

std::vector<operation> numbers() {
  std::vector<operation> all;
  for (unsigned i = 0; i < static_cast<unsigned>(operation::count); ++i) {
    const auto what = static_cast<operation>(i);
    if (row_of(what).value.type == device::value_type::number) all.push_back(what);
  }
  return all;
}

/// A peer of a product, subscribed to; each number of its tree is another one.
class subscribed_peer : test::on_hand_clock {
 public:
  explicit subscribed_peer(const std::string& product) {
    tree.fill(product, {channel});
    give_numbers();
    adapter = manager::remote::create_adapter(product);
    network_.attach(test::peer_tree::address, tree.db);
    client_ = nexel_client::create(nullptr, test::peer_tree::address, "peer", {});
    EXPECT_TRUE(values->subscribe_all(client_, adapter->line_paths().paths).empty());
    EXPECT_TRUE(values->subscribe_all(client_, adapter->channel_paths(channel).paths).empty());
  }

  float number(operation what) const {
    return adapter->get<float>(values, what, part_of(row_of(what).of));
  }

  void expect_a_place_for_each() const {
    std::set<float> seen;
    for (const auto what : numbers()) {
      // What the family does not have, it refuses.
      test::failure_of([&] {
        EXPECT_TRUE(seen.insert(number(what)).second)
            << row_of(what).getter << " reads another one's path";
      });
    }
  }

  test::peer_tree tree;
  std::shared_ptr<interface> adapter;
  subscriber_ptr values = std::make_shared<device::subscriber>();

 private:
  void give_numbers() {
    float value = 0.1f;  // within the range of every kind of number
    for (const auto& path : tree.db.list("", true)) {
      const auto node = tree.db.find(path);
      if (std::dynamic_pointer_cast<nx::api::status_value<float>>(node))
        tree.set(path, value += 0.1f);
    }
  }

  nx::in_process_network network_;
  std::shared_ptr<nexel_client_api> client_;
};

TEST(peer_families, read_what_they_subscribe_and_refuse_the_rest) {
  for (const char* product :
       {"ORVA-LITE", "ORVA-PRO", "SELKA-MIN", "SELKA-PLUS", "TARN-ONE", "TARN-TWO"}) {
    SCOPED_TRACE(product);
    subscribed_peer(product).expect_a_place_for_each();
  }
}

TEST(peer_families, of_in_line_amplifiers_have_their_values_in_other_places) {
  subscribed_peer peer("TARN-ONE");
  const auto expect = [&](const char* path, operation what) {
    peer.tree.set(path, 12.5f);
    EXPECT_EQ(peer.number(what), 12.5f) << path;
    peer.tree.set(path, 0.0f);
  };
  expect("osc/2/data/fiberLength", operation::get_fiber_length);
  expect("osc/2/data/fiberDispersion", operation::get_dispersion);
  expect("data/neighbour/edfa/rx/power", operation::get_line_rx_power);
  expect("data/neighbour/edfa/minGain", operation::get_preamp_default_gain);
  expect("data/line/1/tx/osc/power", operation::get_osc_tx_power);
  expect("data/line/1/rx/osc/power", operation::get_osc_rx_power);
  peer.tree.set("data/spanloss/section", "oms");
  EXPECT_EQ(peer.adapter->get<std::string>(peer.values, operation::get_spanloss_section), "oms");
  EXPECT_TRUE(peer.adapter->is_embedded_ila());
}

TEST(peer_families, an_unlisted_product_gives_zero_and_never_fails) {
  for (const char* product : {"n/a", "ORVA-MAX", "orva-lite", ""}) {
    const auto peer = manager::remote::create_adapter(product);
    const auto values = std::make_shared<device::subscriber>();
    for (const auto what : numbers()) {
      const float nothing = what == operation::get_channel_detection_level ? -26.0f : 0.0f;
      EXPECT_EQ(peer->get<float>(values, what), nothing) << row_of(what).getter;
    }
    EXPECT_EQ(peer->get<std::string>(values, operation::get_channel_rx_status), "n/a");
    EXPECT_FALSE(manager::remote::is_listed(product));
  }
}

}  // namespace
