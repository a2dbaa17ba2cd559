#include "tests/loops/pair_stories.h"

#include <fmt/format.h>

namespace test {

using namespace std::chrono_literals;

sim::topology known_pair(const std::string& product) {
  auto topology = dark_topology(product, 2);
  for (auto& node : topology.nodes) {
    if (!sim::model_of(node).known_to_peers) node.part_number = "ORVA-LITE";
  }
  return topology;
}

void begin(peer_failure what, plant_pair& pair) {
  switch (what) {
    case peer_failure::killed:
      return pair.stop_manager(1);
    case peer_failure::hung:
      return pair.set_peer_link(1, nx::link_state::hung);
    case peer_failure::restarted:
      pair.stop_manager(1);
      return pair.start_manager(1);
    case peer_failure::switch_service:
      return pair.plant().set_nexel_state(1, "wss_edge", sim::nexel_state::killed);
    case peer_failure::dark:
      return pair.write(1, "config/automationMode", "\"dark\"");
  }
}

void end(peer_failure what, plant_pair& pair) {
  switch (what) {
    case peer_failure::killed:
      return pair.start_manager(1);
    case peer_failure::hung:
      return pair.set_peer_link(1, nx::link_state::up);
    case peer_failure::restarted:
      return;
    case peer_failure::switch_service:
      return pair.plant().set_nexel_state(1, "wss_edge", sim::nexel_state::ok);
    case peer_failure::dark:
      return pair.write(1, "config/automationMode", "\"managedCLI\"");
  }
}

void voa_watch::look() {
  const double step = attenuation() - last_;
  last_ += step;
  if (std::fabs(step) > 0.05) steps_.push_back(step);
  if (const auto writes = pair_.plant().voa_writes(node_); writes != writes_) {
    writes_ = writes;
    last_write_ = pair_.now();
  }
}

unsigned voa_watch::changes_of_sign() const {
  unsigned changes = 0;
  for (std::size_t i = 1; i < steps_.size(); ++i)
    changes += steps_[i] * steps_[i - 1] < 0.0 ? 1 : 0;
  return changes;
}

std::vector<double> span_loss_errors(sim::topology lit_pair, double span_db) {
  const double extra = span_db - lit_pair.fibres[0].span_loss_db();
  for (auto& fibre : lit_pair.fibres)
    fibre.loss_offset_db += extra;
  // The supervisory channel bridges a long span with a stronger transmitter. A loss is measured by
  // two taps, whose errors add up in one direction and cancel in the other.
  for (auto& node : lit_pair.nodes) {
    node.osc.tx_power_dbm = 3.0;
    for (auto& tap : node.taps)
      tap.offset_db = -0.1;
  }
  lit_pair.nodes[0].taps[static_cast<std::size_t>(sim::tap::booster_output)].offset_db = 0.1;
  plant_pair pair(lit_pair);
  pair.start();
  pair.run_for(3min);
  std::vector<double> errors;
  for (unsigned node : {0u, 1u}) {
    for (const char* path : {"data/spanloss/oms/tx", "data/spanloss/oms/rx", "data/spanloss/ots/tx",
                             "data/spanloss/ots/rx"}) {
      const bool is_tx = std::string(path).ends_with("tx");
      if (!pair.tree(node).find(path)) continue;
      errors.push_back(pair.number(node, path) -
                       pair.plant().span_loss_db(is_tx ? node : 1 - node));
    }
  }
  return errors;
}

std::vector<osnr_error> osnr_errors(const sim::topology& lit) {
  plant_node node(lit);
  const auto channels = node.channels();
  const auto is_dark = [](std::size_t i) { return i % 3 == 1; };
  for (std::size_t i = 0; i < channels.size(); ++i) {
    if (is_dark(i)) node.plant().switch_laser(1, channels[i], false);
  }
  node.start();
  std::vector<osnr_error> errors;
  for (double extra_db = 0.0; extra_db <= 22.0; extra_db += 2.0) {
    node.plant().set_span_offset(1, extra_db);
    node.run_for(20s);
    for (std::size_t i = 0; i < channels.size(); ++i) {
      const double truth = node.plant().channel_osnr_db(0, channels[i]);
      if (is_dark(i) || truth < 10.0 || truth > 30.0) continue;
      const auto shown = node.number(fmt::format("data/client/{}/tx/osnr", channels[i]));
      errors.push_back({channels[i], truth, double{shown} - truth});
    }
  }
  return errors;
}

}  // namespace test
