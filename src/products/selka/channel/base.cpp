#include "products/selka/channel/base.h"

#include <fmt/format.h>

#include "helpers/calibration.h"
#include "helpers/guard.h"
#include "models/model.h"
#include "platform/wire/nx_error.h"

namespace products::selka::channel {

void base::setup_api(nx_db& db) {
  ::channel::base::setup_api(db);
  if (get_direction() != "rx") return;
  line_tx_power_ = nx::api::status_value<float>::create(db, value_path("lineTxPower"), 1.0f, 0);
}

std::string base::port_loss_key(const char* add_drop) {
  return models::port_loss_key(models::get("selkamin"), add_drop, get_wss_port());
}

float base::port_loss_db(const char* add_drop) {
  if (!port_loss_db_) port_loss_db_ = calibration::instance().find(port_loss_key(add_drop));
  return (*port_loss_db_)();
}

void base::update_power() {
  const auto& board = calibration::instance();
  const auto direction = get_direction();
  const float port_loss = port_loss_db(direction == "rx" ? "add" : "drop");
  if (direction == "rx") {
    publish_power(get_ocm_power() + board.rx_edfa_calibration - port_loss - board.booster_gain +
                  get_attenuation());
  } else if (direction == "tx") {
    publish_power(get_ocm_power() + board.tx_edfa_calibration + port_loss - get_attenuation());
  } else {
    throw nx_error(nx_error::invalid, fmt::format("Invalid channel direction {}", direction));
  }
}

void base::update_line_tx_power(float voa_attenuation, float voa_insertion_loss) {
  if (get_direction() != "rx") return;
  const auto& board = calibration::instance();
  set_line_tx_power(get_ocm_power() + board.rx_edfa_calibration - voa_attenuation -
                    voa_insertion_loss + board.board().boostertx_to_linetx_db() -
                    board.line_margin);
}

void base::set_line_tx_power(float power) {
  if (!line_tx_power_) return;  // its creation failed, so the channel does not have it on the tree
  helpers::guarded([&] { line_tx_power_->update(power); });
}

}  // namespace products::selka::channel
