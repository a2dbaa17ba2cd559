// The manager of the orvakin sub-family: regulates both client directions, has no line VOA and no
// automation mode. Its channels are in groups of eight, with one grid position left out between
// groups; the tree numbers them from 1, the devices identify them by grid position.
#pragma once

#include "base/manager/base.h"
#include "models/model.h"

namespace products::orva::orvakin {

template <class RX_T, class TX_T>
class manager : public ::manager::base<RX_T, TX_T> {
 public:
  using base = ::manager::base<RX_T, TX_T>;

  explicit manager(const models::model& model) : model_(model) {}

  void create_client_rx() override;
  void create_client_tx() override;
  void create_line() override;
  void create_channel_plans() override;
  void setup_rx_channel_plan(nx_db& db) override;
  void setup_tx_channel_plan(nx_db& db) override;
  void setup_line(nx_db& db) override;
  void update_channel_index() override;
  void setup_leds(nx_db& db, bool coldstart) override;

 private:
  template <class Plan, class Loop, class AddLed>
  void setup_grouped_plan(nx_db& db, Plan& plan, Loop& loop, AddLed&& add_led);

  const models::model& model_;
};

}  // namespace products::orva::orvakin
