// Definitions of manager::base: start-up and the published values. The main loop is in
// base_run.ipp, channels and commands in base_channels.ipp.
#pragma once

#include <exception>
#include <filesystem>
#include <fstream>
#include <list>

#include "api/command.h"
#include "api/config_param.h"
#include "api/const_value.h"
#include "api/hysteresis_filtered_value.h"
#include "base/manager/base.h"
#include "base/manager/hostname.h"
#include "base/manager/leds.h"
#include "base/manager/loops/client_rx.h"
#include "base/manager/loops/client_tx.h"
#include "base/manager/loops/line.h"
#include "base/manager/nexel_paths.h"
#include "base/manager/remote/api.h"
#include "device/hardware/edfa.h"
#include "device/hardware/osc.h"
#include "device/hardware/selka_led.h"
#include "device/hardware/sfp.h"
#include "device/hardware/voa.h"
#include "device/hardware/wss_edge.h"
#include "device/system.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/service_manager.h"
#include "helpers/waiting.h"
#include "platform/value_tree/nx_db.h"
#include "platform/wire/socket_path.h"

namespace manager {

template <class RX_T, class TX_T>
base<RX_T, TX_T>::base()
    : values_(nx::api::value_group::create(1)), remote_(std::make_shared<remote::api>()) {}

template <class RX_T, class TX_T>
base<RX_T, TX_T>::~base() {
  // The LED thread reports into the void once the loops are gone, and must not outlive this object.
  if (leds_) leds_->stop();
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::start(nx_db& db) {
  try {
    build(db);
  } catch (const helpers::process_stopping&) {
    LUMORA_LOG(2, "Manager start-up ended by shutdown.");
  }
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::build(nx_db& db) {
  db_ = db;
  const device::cycle_reads::scope scope(reads_);  // readings needed for each channel are read once
  LUMORA_LOG(2, "Manager starting up.");
  const bool system_coldstart = read_system_nexels(db);
  coldstart_ = coldstart_once(db, system_coldstart);
  setup_leds(db, system_coldstart);
  create_channel_plans();
  LUMORA_LOG(2, "Channel plans initialized.");
  setup_client_rx(db);
  setup_client_tx(db);
  LUMORA_LOG(2, "Client loops ready.");
  setup_line(db);
  LUMORA_LOG(2, "Line loop ready.");
  setup_api(db);
  LUMORA_LOG(2, "Manager API ready.");
  update_channel_index();
  update_utilization();
  LUMORA_LOG(2, "Manager setup complete.");
}

template <class RX_T, class TX_T>
bool base<RX_T, TX_T>::read_system_nexels(nx_db& db) {
  const device::system::info info(db.get_io_context(), nexel_paths::system_info);
  const device::system::start start_up(db.get_io_context(), nexel_paths::system_start);
  bool system_coldstart = false;
  const auto read = [&] {
    product_ = info.get_part_number();
    sw_version_ = info.get_sw_version();
    hw_revision_ = info.get_hw_revision();
    system_coldstart = start_up.is_system_coldstart();
  };
  retry_until_done(read, "Failed to read system nexels, retrying.");
  return system_coldstart;
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::retry_until_done(const std::function<void()>& call, const char* message,
                                        const std::source_location& where) {
  auto& waiting = helpers::waiting::instance();
  for (;;) {
    try {
      call();
      return;
    } catch (const helpers::process_stopping&) {
      throw;
    } catch (...) {
      if (waiting.stopping()) throw helpers::process_stopping{};
      helpers::log_current_exception(helpers::after_logging::throws_on, where);
      LUMORA_LOG(2, fmt::runtime(message));
      helpers::service_manager::instance().status(std::string("Building the node. ") + message);
    }
    if (!waiting.sleep(std::chrono::seconds(1))) throw helpers::process_stopping{};
  }
}

template <class RX_T, class TX_T>
bool base<RX_T, TX_T>::coldstart_once(nx_db& db, bool system_coldstart) {
  const std::filesystem::path marker = nx::rooted_path("/tmp/lumora_cold_start");
  if (!system_coldstart || std::filesystem::exists(marker)) return false;
  LUMORA_LOG(2, "Coldstart detected, shutting down amplifiers.");
  disable_amplifiers(db);
  std::ofstream file(marker);
  // The amplifiers are off by now: ending here would leave them off.
  if (!file) LUMORA_LOG(2, "Failed to create coldstart marker {}.", marker.string());
  return true;
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::disable_amplifiers(nx_db& db) {
  device::hardware::edfa preamp(db.get_io_context(), nexel_paths::preamp);
  device::hardware::edfa booster(db.get_io_context(), nexel_paths::booster);
  std::list<device::hardware::edfa*> left_on{&preamp, &booster};
  // The one that is present is not left on while the other is away.
  const auto disable = [&] {
    std::exception_ptr failure;
    left_on.remove_if([&](auto* amplifier) {
      try {
        amplifier->disable();
        return true;
      } catch (...) {
        failure = std::current_exception();
        return false;
      }
    });
    if (failure) std::rethrow_exception(failure);
  };
  retry_until_done(disable, "Failed to shut down amplifiers at coldstart, retrying.");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::create_client_rx() {
  LUMORA_LOG(2, "Creating orva::client_rx instance.");
  client_rx_ = std::make_shared<loops::client_rx<RX_T>>(rx_plan_, remote_);
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::create_client_tx() {
  LUMORA_LOG(2, "Creating orva::client_tx instance.");
  client_tx_ = std::make_shared<loops::client_tx<TX_T>>(tx_plan_, remote_);
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::create_line() {
  LUMORA_LOG(2, "Creating orva::line instance.");
  line_ = std::make_shared<loops::line<RX_T>>(rx_plan_, remote_);
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::create_plans(unsigned slices) {
  rx_plan_ = std::make_shared<::channel::plan<RX_T>>(slices, "rx");
  tx_plan_ = std::make_shared<::channel::plan<TX_T>>(slices, "tx");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::setup_client_rx(nx_db& db) {
  const log_subject subject("rx");
  constexpr unsigned add_module = 1;
  LUMORA_LOG(2, "Creating client_rx devices.");
  const auto io = db.get_io_context();
  const auto booster = std::make_shared<device::hardware::edfa>(io, nexel_paths::booster);
  const auto osc = std::make_shared<device::hardware::osc>(io, nexel_paths::osc);
  const auto edge =
      std::make_shared<device::hardware::wss_edge>(io, nexel_paths::wss_edge, add_module);
  create_client_rx();
  client_rx_->set_wss(edge);
  client_rx_->set_ocm(edge);
  client_rx_->set_edfa(booster);
  client_rx_->set_osc(osc);
  client_rx_->set_leds(leds_);
  await_amplifier(*booster, "Failed to read booster, retrying.");
  setup_rx_channel_plan(db);
  client_rx_->setup_api(db);
  init_client_rx(db);
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::setup_client_tx(nx_db& db) {
  const log_subject subject("tx");
  constexpr unsigned drop_module = 2;
  LUMORA_LOG(2, "Creating client_tx devices.");
  const auto io = db.get_io_context();
  const auto preamp = std::make_shared<device::hardware::edfa>(io, nexel_paths::preamp);
  const auto osc = std::make_shared<device::hardware::osc>(io, nexel_paths::osc);
  const auto edge =
      std::make_shared<device::hardware::wss_edge>(io, nexel_paths::wss_edge, drop_module);
  create_client_tx();
  client_tx_->set_wss(edge);
  client_tx_->set_ocm(edge);
  client_tx_->set_edfa(preamp);
  client_tx_->set_osc(osc);
  client_tx_->set_leds(leds_);
  add_client_tx_devices(db);
  await_amplifier(*preamp, "Failed to read preamp, retrying.");
  setup_tx_channel_plan(db);
  client_tx_->setup_api(db);
  init_client_tx(db);
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::add_client_tx_devices(nx_db&) {}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::await_amplifier(device::interfaces::edfa& amplifier, const char* message) {
  retry_until_done([&] { amplifier.get_power_limit(); }, message);
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::build_line(nx_db& db, bool has_voa) {
  using namespace device::hardware;
  LUMORA_LOG(2, "Creating line devices.");
  const auto io = db.get_io_context();
  const auto supervisory = std::make_shared<osc>(io, nexel_paths::osc);
  const auto optics = std::make_shared<sfp>(io, nexel_paths::sfp);
  const auto attenuator = has_voa ? std::make_shared<voa>(io, nexel_paths::voa) : nullptr;
  const auto preamp = std::make_shared<edfa>(io, nexel_paths::preamp);
  const auto booster = std::make_shared<edfa>(io, nexel_paths::booster);
  LUMORA_LOG(2, "Creating line instance.");
  create_line();
  line_->set_osc(supervisory);
  line_->set_sfp(optics);
  line_->set_voa(attenuator);
  line_->set_preamp(preamp);
  line_->set_booster(booster);
  line_->set_leds(leds_);
  line_->setup_api(db);
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::setup_line(nx_db& db) {
  build_line(db, true);
  init_line(db, supports_embedded_ila());
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::init_line(nx_db& db, bool embedded_ila) {
  retry_until_done([&] { line_->init(db, embedded_ila); }, "Failed to initialize line, retrying.");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::create_leds() {
  LUMORA_LOG_DIRECT(3, "create_leds", "In base class, led manager initialized as base.");
  leds_ = std::make_shared<manager::leds>();
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::setup_leds(nx_db&, bool) {
  create_leds();
  LUMORA_LOG_DIRECT(3, "setup_leds", "In base class, led manager not started.");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::start_leds(nx_db& db, bool coldstart) {
  create_leds();
  LUMORA_LOG(2, "Setting up leds.");
  leds_->set_led(
      std::make_shared<device::hardware::selka_led>(db.get_io_context(), nexel_paths::leds));
  leds_->start(coldstart);
}

template <class RX_T, class TX_T>
bool base<RX_T, TX_T>::supports_embedded_ila() {
  return true;
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::setup_api(nx_db& db) {
  using self_type = base<RX_T, TX_T>;
  const auto self = this->shared_from_this();
  channel_index_ = nx::api::status_value<std::string>::create(db, "data/channel/index", "[]", 1);
  values_->add_value(nx::api::prompt_param<&self_type::set_log_level>::create(db, "debug/loglevel",
                                                                              std::nullopt, self),
                     0);
  values_->add_value(
      nx::api::polled_value<&self_type::get_hostname>::create(db, "data/system/hostname", self), 3);
  const auto publish_constant = [&](const char* path, const std::string& text) {
    values_->add_value(nx::api::const_value<std::string>::create(db, path, text), 0);
  };
  publish_constant("data/system/fiberMode", "normal");
  values_->add_value(
      nx::api::command<&self_type::add_channel>::create(db, "command/channel/add", self), 0);
  values_->add_value(
      nx::api::command<&self_type::remove_channel>::create(db, "command/channel/remove", self), 0);
  publish_constant("data/product", product_);
  publish_constant("data/swVersion", sw_version_);
  publish_constant("data/hwRevision", hw_revision_);
  utilization_ = nx::api::status_value<float>::create(db, "data/system/utilization", 0.0f, 1);
  insight_->setup_api(db);
  overview_->setup_api(db, line_, rx_plan_->get_board(), tx_plan_->get_board());
  device::hardware::osc supervisory(db.get_io_context(), nexel_paths::osc);
  devices_->setup_api(db, wishes_of_cycle(supervisory));
  ladders_->setup_api(db, product_);
  neighbour_->setup_api(db);
  api_is_whole_ = true;
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::set_log_level(std::string text) {
  LUMORA_LOG(2, "Setting log level to {}", text);
  logger::instance().level = static_cast<int>(logger::get_log_level(text));
}

template <class RX_T, class TX_T>
std::string base<RX_T, TX_T>::get_hostname() {
  return read_hostname();
}

}  // namespace manager

#include "base/manager/base_channels.ipp"
#include "base/manager/base_run.ipp"
