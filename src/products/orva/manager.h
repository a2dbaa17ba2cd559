// The manager of the orva models that regulate towards the line: fixed channel plans, utilization
// by lit channels, and the automation mode on the tree. A model that does nothing differently needs
// no class of its own.
#pragma once

#include "base/manager/automation.h"
#include "base/manager/base.h"
#include "models/model.h"

namespace products::orva {

template <class RX_T, class TX_T>
class manager : public ::manager::base<RX_T, TX_T> {
 public:
  using base = ::manager::base<RX_T, TX_T>;

  explicit manager(const models::model& model) : model_(model) {}

  void create_client_tx() override;
  void create_channel_plans() override;
  void setup_rx_channel_plan(nx_db& db) override;
  void setup_tx_channel_plan(nx_db& db) override;
  void update_utilization() override;
  void setup_api(nx_db& db) override;
  void create_leds() override;
  void setup_leds(nx_db& db, bool coldstart) override;

  // NOLINTNEXTLINE(performance-unnecessary-value-param): setters of the tree take values
  virtual void set_automation_mode(std::string text) { automation::instance().set(text); }
  virtual std::string get_automation_mode() { return automation::instance().to_string(); }

 private:
  template <class Plan, class Loop, class AddLed>
  void setup_fixed_plan(nx_db& db, Plan& plan, Loop& loop, AddLed&& add_led);

  const models::model& model_;
};

}  // namespace products::orva
