#include "sim/plant/board.h"

#include <fmt/format.h>

#include "sim/plant.h"

namespace sim {

namespace {

class board_text {
 public:
  void add(const std::string& key, double value_db) {
    text_ += fmt::format("{} {:.2f}\n", key, value_db == 0.0 ? 0.0 : value_db);
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

double tap_offset_db(const node_settings& node, tap which) {
  return node.taps[static_cast<std::size_t>(which)].offset_db;
}

void add_line(board_text& board, const node_settings& node) {
  // Signs as the daemon uses them: a loss is negative.
  board.add("cal_boostertx_to_linetx", -node.line_output_filter_db);
  board.add("cal_linerx_to_preamprx", -node.line_input_filter_db);
  board.add("cal_osctx_to_linetx", -node.line_output_filter_db);
  board.add("cal_linerx_to_oscrx", -node.line_input_filter_db);
}

/// The offset from a monitor's total to the reading of the amplifier's output.
double monitor_to_amplifier_db(const node_settings& node, const monitor_settings& monitor,
                               tap output) {
  return monitor.tap_loss_db - monitor.offset_db + tap_offset_db(node, output);
}

void add_monitors(board_text& board, const node_settings& node) {
  const monitor_settings& rx = node.booster_monitor;
  const monitor_settings& tx = node.preamp_monitor;
  board.add("cal_mon_to_boostertx", monitor_to_amplifier_db(node, rx, tap::booster_output));
  board.add("cal_mon_to_preamptx", monitor_to_amplifier_db(node, tx, tap::preamp_output));
  board.add("cal_clientrx_to_mon", node.booster.gain_db - node.add_switch.insertion_loss_db -
                                       rx.tap_loss_db + rx.offset_db);
  // The monitor's reading already includes the attenuation of a switch between the preamp's stages;
  // the factory measured at its initial attenuation.
  const double counted_twice_db =
      node.drop_switch_mid_stage ? node.drop_switch.start_attenuation_db : 0.0;
  board.add("cal_mon_to_clienttx",
            tx.tap_loss_db - tx.offset_db - node.drop_switch.insertion_loss_db + counted_twice_db);
}

void add_ports(board_text& board, const node_settings& node, const models::model& model) {
  for (const unsigned port : models::ports(model)) {
    for (const bool add : {true, false}) {
      const double loss_db =
          add ? node.add_switch.insertion_loss_db : node.drop_switch.insertion_loss_db;
      board.add(models::port_loss_key(model, add ? "add" : "drop", port), -loss_db);
    }
  }
}

void add_channels(board_text& board, const std::vector<double>& booster_ripple_db) {
  for (std::size_t i = 0; i < booster_ripple_db.size(); ++i) {
    board.add(fmt::format("cal_clientrx_loss_offset_{}", i), -booster_ripple_db[i]);
    board.add(fmt::format("cal_clienttx_loss_offset_{}", i), 0.0);
  }
}

}  // namespace

std::string board_file(const node_settings& node, const std::vector<double>& booster_ripple_db) {
  board_text board;
  add_line(board, node);
  add_monitors(board, node);
  const auto& model = model_of(node);
  if (model.port_loss_key != nullptr) add_ports(board, node, model);
  if (model.has_compensator) board.add("cal_dc_fixed_tx", fixed_module_ps_per_nm);
  if (model.plan == models::plan_kind::fixed) add_channels(board, booster_ripple_db);
  return board.text();
}

}  // namespace sim
