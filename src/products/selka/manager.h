// The manager of the selka models: channels are added and removed by command, on a twin switch with
// a separate monitor. selkaplus differs in the names of its switch ports and in its panel.
#pragma once

#include <string>

#include "base/manager/automation.h"
#include "base/manager/base.h"
#include "models/model.h"

namespace products::selka {

/// A JSON array of {"portname", "portnumber"} objects, sorted by name.
std::string port_table_text(const models::model& model);

template <class RX_T, class TX_T>
class manager : public ::manager::base<RX_T, TX_T> {
 public:
  using base = ::manager::base<RX_T, TX_T>;

  manager() : manager(models::get("selkamin")) {}
  explicit manager(const models::model& model) : model_(model) {}

  void create_line() override;
  void create_channel_plans() override;
  void setup_client_rx(nx_db& db) override;
  void setup_client_tx(nx_db& db) override;
  unsigned get_slice_count() override;
  void periodic_update() override;
  bool supports_embedded_ila() override;
  void setup_api(nx_db& db) override;
  void create_leds() override;
  void setup_leds(nx_db& db, bool coldstart) override;

  // NOLINTNEXTLINE(performance-unnecessary-value-param): setters of the tree take values
  virtual void set_automation_mode(std::string text) { automation::instance().set(text); }
  virtual std::string get_automation_mode() { return automation::instance().to_string(); }
  virtual std::string get_wss_ports() { return port_table_text(model_); }

 private:
  const models::model& model_;
};

namespace selkaplus {

template <class RX_T, class TX_T>
class manager : public selka::manager<RX_T, TX_T> {
 public:
  manager() : selka::manager<RX_T, TX_T>(models::get("selkaplus")) {}

  void create_leds() override;
};

}  // namespace selkaplus

}  // namespace products::selka
