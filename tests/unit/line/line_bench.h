// A line loop between fake devices, with a real peer API towards a tree in-process and a
// hand-driven clock. A journal records what the loop does to its devices.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "base/manager/leds.h"
#include "base/manager/loops/line.h"
#include "base/manager/remote/api.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"
#include "platform/value_tree/poll_scheduler.h"
#include "products/control_types_full.h"
#include "tests/support/board_file.h"
#include "tests/support/fake_line_devices.h"
#include "tests/support/hand_clock.h"
#include "tests/support/tree_values.h"
#include "tests/unit/remote/peer_tree.h"

namespace test {

class fake_sfp : public fake_device<device::interfaces::sfp> {
 public:
  float rx_power = -20;
  float tx_power = 0;
  bool los = false;

  float get_rx_power() override { return read("rx power", rx_power); }
  float get_tx_power() override { return read("tx power", tx_power); }
  bool has_los() override { return !is_operational() || read("los", los); }
  std::string get_oper_status() override { return read("status", std::string("up")); }
};

class fake_leds : public manager::leds {
 public:
  explicit fake_leds(journal& actions) : actions_(actions) {}

  bool rx_los = false;
  void set_line_rx_los(bool value) override { rx_los = value; }
  void set_line_tx_enabled(bool value) override {
    actions_.push_back(value ? "led tx on" : "led tx off");
  }

 private:
  journal& actions_;
};

using orva_line = manager::loops::line<products::orva_control>;

struct line_bench : on_hand_clock {
  using plan_t = channel::plan<products::orva_control>;

  line_bench() {
    logger::instance().level = 2;
    load_board_file(
        "cal_linerx_to_preamprx -0.5\ncal_linerx_to_oscrx -1.5\n"
        "cal_osctx_to_linetx -0.75\ncal_boostertx_to_linetx -0.25\n");
    remote = std::make_shared<manager::remote::api>();
    line = std::make_shared<orva_line>(plan, remote);
    line->set_osc(osc);
    line->set_sfp(sfp);
    line->set_voa(voa);
    line->set_preamp(preamp);
    line->set_booster(booster);
    line->set_leds(leds);
  }

  void start() {
    line->setup_api(own);
    line->init(own, true);
  }

  /// A warm start: the light was on, and the panel is told so.
  void start_on_open_fibre() {
    start();
    line->run(own, false, false);
    EXPECT_EQ(done(), journal{"led tx on"});
  }

  /// Serves the peer and identifies it.
  void meet_peer() {
    network.attach(peer_tree::address, peer.db);
    for (int cycle = 0; cycle < 2; ++cycle) {
      remote->run(own, osc, plan);
      network.deliver();
    }
    actions.clear();
  }

  /// One cycle, and the half second behind it.
  void cycle(bool regulate = true, bool coldstart = false) {
    line->run(own, regulate, coldstart);
    helpers::waiting::instance().sleep(std::chrono::milliseconds(500));
  }

  void cycles(unsigned count, bool regulate = true, bool coldstart = false) {
    for (; count > 0; --count)
      cycle(regulate, coldstart);
  }

  /// Neither light nor supervisory channel comes in; or both do again.
  void set_cut(bool is_cut) {
    preamp->los = is_cut;
    osc->operational = !is_cut;
  }

  /// What was done since the last call.
  journal done() { return std::exchange(actions, {}); }

  std::string shown(const std::string& path) { return shown_at(own, path); }

  journal actions;
  std::shared_ptr<nx::manual_poller> poller = std::make_shared<nx::manual_poller>();
  nx_db own{poller};
  peer_tree peer;
  nx::in_process_network network;
  std::shared_ptr<fake_osc> osc = std::make_shared<fake_osc>();
  std::shared_ptr<fake_sfp> sfp = std::make_shared<fake_sfp>();
  std::shared_ptr<fake_voa> voa = std::make_shared<fake_voa>(actions);
  std::shared_ptr<fake_edfa> preamp = std::make_shared<fake_edfa>(actions, "preamp");
  std::shared_ptr<fake_edfa> booster = std::make_shared<fake_edfa>(actions, "booster");
  std::shared_ptr<fake_leds> leds = std::make_shared<fake_leds>(actions);
  std::shared_ptr<plan_t> plan = std::make_shared<plan_t>(768, "rx");
  std::shared_ptr<manager::remote::api> remote;
  std::shared_ptr<orva_line> line;
};

/// An open line towards a peer with channels.
class line_with_channels : public testing::Test, protected line_bench {
 protected:
  line_with_channels() { start_on_open_fibre(); }

  void meet(const std::string& product, std::initializer_list<unsigned> channels) {
    for (const unsigned id : channels)
      plan->add_channel(id, 5000, 1, "1");
    peer.fill(product, channels);
    meet_peer();
  }
  /// A new reading of the peer for this channel: 0.01 dB of noise, since repeated ones are skipped.
  void read_at_peer(unsigned id, float power) {
    noise_ = -noise_;
    peer.set(fmt::format("data/client/{}/tx/ocm/power", id), power + noise_);
    peer.set("data/line/1/tx/power", 8.0f + noise_);
  }
  void cycle_with(unsigned id, float power, bool regulate = true) {
    read_at_peer(id, power);
    cycle(regulate);
  }
  void cycles_with(unsigned count, unsigned id, float power) {
    for (; count > 0; --count)
      cycle_with(id, power);
  }

 private:
  float noise_ = 0.005f;
};

}  // namespace test
