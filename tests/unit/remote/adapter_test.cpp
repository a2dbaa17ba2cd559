// What each family of peers offers: every operation either reads a value that the family's own
// subscription brings, or refuses with a text of its own.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "base/manager/remote/peer_products.h"
#include "helpers/waiting.h"
#include "platform/nexel_client/nexel_client.h"
#include "platform/wire/nx_error.h"
#include "tests/support/hand_clock.h"
#include "tests/unit/remote/peer_tree.h"

namespace {

using manager::remote::device::interface;
using subscriber_ptr = std::shared_ptr<device::subscriber>;

constexpr unsigned channel = 19600000;

struct number_operation {
  const char* name;
  std::function<float(interface&, const subscriber_ptr&)> read;
};

number_operation line(const char* name, float (interface::*get)(const subscriber_ptr&)) {
  return {name,
          [get](interface& peer, const subscriber_ptr& values) { return (peer.*get)(values); }};
}
number_operation of_channel(const char* name,
                            float (interface::*get)(const subscriber_ptr&, unsigned)) {
  return {name, [get](interface& peer, const subscriber_ptr& values) {
            return (peer.*get)(values, channel);
          }};
}

const std::vector<number_operation> number_operations{
    line("fiber length", &interface::get_fiber_length),
    line("utilization", &interface::get_utilization),
    line("line tx total", &interface::get_line_tx_total_power),
    line("line rx total", &interface::get_line_rx_total_power),
    line("line tx", &interface::get_line_tx_power),
    line("line rx", &interface::get_line_rx_power),
    line("line target", &interface::get_line_target_power),
    line("client target", &interface::get_client_target_power),
    line("dispersion", &interface::get_dispersion),
    line("osc loss", &interface::get_osc_loss),
    line("osc attenuation", &interface::get_osc_attenuation),
    line("osc tx", &interface::get_osc_tx_power),
    line("osc rx", &interface::get_osc_rx_power),
    line("preamp limit", &interface::get_preamp_power_limit),
    line("preamp gain", &interface::get_preamp_gain),
    line("saturation", &interface::get_edfa_tx_saturation),
    line("calibration", &interface::get_edfa_tx_calibration),
    line("preamp default gain", &interface::get_preamp_default_gain),
    of_channel("channel osnr", &interface::get_channel_osnr),
    of_channel("channel tx ocm", &interface::get_channel_tx_ocm_power),
    of_channel("channel rx", &interface::get_channel_rx_power),
    of_channel("channel tx", &interface::get_channel_tx_power),
    line("ots tx", &interface::get_ots_spanloss_tx),
    line("ots rx", &interface::get_ots_spanloss_rx),
    line("oms tx", &interface::get_oms_spanloss_tx),
    line("oms rx", &interface::get_oms_spanloss_rx),
    line("tdcm", &interface::get_tdcm_dispersion),
    line("final dispersion", &interface::get_final_dispersion),
    line("tdcm offset", &interface::get_tdcm_offset),
};

/// A peer of a product, subscribed to; each number of its tree is another one.
class subscribed_peer : test::on_hand_clock {
 public:
  explicit subscribed_peer(const std::string& product) {
    if (product.starts_with("TARN")) {
      tree.fill_tarn(product);
    } else {
      tree.fill_terminal(product, {channel});
    }
    give_numbers();
    adapter = manager::remote::create_adapter(product);
    network_.attach(test::peer_tree::address, tree.db);
    client_ = nexel_client::create(nullptr, test::peer_tree::address, "peer", {});
    EXPECT_TRUE(values->subscribe_all(client_, adapter->line_paths().paths).empty());
    EXPECT_TRUE(values->subscribe_all(client_, adapter->channel_paths(channel).paths).empty());
  }

  /// The operations that the family refuses with a text of its own.
  std::set<std::string> refused() {
    std::set<std::string> names;
    std::set<float> seen;
    for (const auto& operation : number_operations) {
      try {
        const bool is_new = seen.insert(operation.read(*adapter, values)).second;
        EXPECT_TRUE(is_new) << operation.name << " reads another operation's path";
      } catch (const nx_error&) {
        names.insert(operation.name);
      }
    }
    return names;
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

const std::set<std::string> span_losses{"ots tx", "ots rx", "oms tx", "oms rx"};
const std::set<std::string> compensation{"tdcm", "final dispersion", "tdcm offset"};

std::set<std::string> operator+(std::set<std::string> all, const std::set<std::string>& more) {
  all.insert(more.begin(), more.end());
  return all;
}

TEST(peer_families, read_what_they_subscribe_and_refuse_the_rest) {
  const std::set<std::string> regulation{"line target", "client target", "saturation",
                                         "calibration", "channel osnr"};
  const std::set<std::string> channels_and_preamp{"utilization",    "preamp limit", "preamp gain",
                                                  "channel tx ocm", "channel rx",   "channel tx"};
  const std::map<std::string, std::set<std::string>> refused{
      {"ORVA-LITE", span_losses + compensation},
      {"ORVA-PRO", span_losses},
      {"SELKA-MIN", span_losses + compensation + regulation},
      {"SELKA-PLUS", span_losses + compensation + regulation},
      {"TARN-ONE", compensation + regulation + channels_and_preamp},
      {"TARN-TWO", compensation + regulation + channels_and_preamp},
  };
  for (const auto& [product, names] : refused) {
    subscribed_peer peer(product);
    EXPECT_EQ(peer.refused(), names) << product;
  }
}

TEST(peer_families, of_in_line_amplifiers_have_their_values_in_other_places) {
  subscribed_peer peer("TARN-ONE");
  auto& tarn = *peer.adapter;
  const auto expect = [&](const char* path, float (interface::*get)(const subscriber_ptr&)) {
    peer.tree.set(path, 12.5f);
    EXPECT_EQ((tarn.*get)(peer.values), 12.5f) << path;
    peer.tree.set(path, 0.0f);
  };
  expect("osc/2/data/fiberLength", &interface::get_fiber_length);
  expect("osc/2/data/fiberDispersion", &interface::get_dispersion);
  expect("data/neighbour/edfa/rx/power", &interface::get_line_rx_power);
  expect("data/neighbour/edfa/minGain", &interface::get_preamp_default_gain);
  expect("data/line/1/tx/osc/power", &interface::get_osc_tx_power);
  expect("data/line/1/rx/osc/power", &interface::get_osc_rx_power);
  peer.tree.set("data/spanloss/section", "oms");
  EXPECT_EQ(tarn.get_spanloss_section(peer.values), "oms");
  EXPECT_TRUE(tarn.is_embedded_ila());
}

TEST(peer_families, an_unlisted_product_gives_zero_and_never_fails) {
  for (const char* product : {"n/a", "ORVA-MAX", "orva-lite", ""}) {
    const auto peer = manager::remote::create_adapter(product);
    const auto values = std::make_shared<device::subscriber>();
    for (const auto& operation : number_operations) {
      EXPECT_EQ(operation.read(*peer, values), 0.0f) << operation.name;
    }
    EXPECT_EQ(peer->get_channel_rx_status(values, channel), "n/a");
    EXPECT_FALSE(manager::remote::is_listed(product));
  }
}

}  // namespace
