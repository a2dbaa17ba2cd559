// Definitions of manager::base: the main loop.
#pragma once

#include <atomic>

#include "base/manager/automation.h"
#include "base/manager/base.h"
#include "base/manager/loops/client_rx.h"
#include "base/manager/loops/client_tx.h"
#include "base/manager/loops/line.h"
#include "base/manager/nexel_paths.h"
#include "base/manager/remote/api.h"
#include "device/hardware/osc.h"
#include "helpers/logger.h"
#include "helpers/service_manager.h"
#include "helpers/waiting.h"

namespace manager {

/// Runs a part of a loop; `failure` is then what it logged last, if anything.
template <class Part>
void with_failure(std::string& failure, Part&& part) {
  helpers::take_last_failure();  // another's
  part();
  failure = helpers::take_last_failure();
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::run(nx_db& db, bool* running) {
  const auto osc = std::make_shared<device::hardware::osc>(db.get_io_context(), nexel_paths::osc);
  const std::atomic_ref<bool> keep_running(*running);
  while (keep_running.load())
    cycle(db, osc);
  LUMORA_LOG(2, "Manager shutting down.");
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::cycle(nx_db& db, const std::shared_ptr<device::interfaces::osc>& osc) {
  constexpr std::chrono::seconds pause_when_not_regulating{5};
  constexpr std::chrono::microseconds pause{500000};
  cycles_.require();
  auto& waiting = helpers::waiting::instance();
  ::insight::event_log::instance().settle();
  if (!automation::instance().is_regulating()) {
    LUMORA_LOG(1, "Automation mode not allowed, sleeping.");
    helpers::service_manager::instance().status("Not regulating because of the automation mode");
    client_rx_->note_idle();
    client_tx_->note_idle();
    line_->note_idle(automation::instance().to_string());
    ladders_->note_idle();
    neighbour_->note_idle();
    overview_->note_cycle({.is_regulating = false});
    waiting.sleep(pause_when_not_regulating);
    return;
  }
  const auto ok = work(db, osc);
  if (!ok.line || !ok.rx || !ok.tx) waiting.sleep(pause);
  periodic_update();
  waiting.sleep(pause);
}

template <class RX_T, class TX_T>
typename base<RX_T, TX_T>::loop_states base<RX_T, TX_T>::work(
    nx_db& db, const std::shared_ptr<device::interfaces::osc>& osc) {
  auto& waiting = helpers::waiting::instance();
  const auto begin = waiting.steady_now();
  cycle_record record;
  record.begin = waiting.system_now();
  const device::cycle_reads::scope scope(reads_);
  read_inputs(*osc);
  remote_->run(db, osc, tx_plan_);
  const auto ok = revive_loops(db);
  record.turn = regulate(db, ok);
  report(ok, record.turn);
  record.lasted = waiting.steady_now() - begin;
  record.reads = reads_.last_cost();
  insight_->note_cycle(record);
  note_overview();
  look_at_ladders();
  devices_->refresh();
  return ok;
}

template <class RX_T, class TX_T>
std::vector<device::read_wish> base<RX_T, TX_T>::wishes_of_cycle(device::interfaces::osc& osc) {
  std::vector<device::read_wish> wishes;
  osc.declare_reads(wishes);
  client_rx_->declare_reads(wishes);
  client_tx_->declare_reads(wishes);
  line_->declare_reads(wishes);
  return wishes;
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::read_inputs(device::interfaces::osc& osc) {
  reads_.fetch(wishes_of_cycle(osc));
  devices_->take(reads_);
  if (const auto attenuation = devices_->number("voa", "attenuation")) {
    line_->note_attenuation(*attenuation);
  }
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::look_at_ladders() {
  if (!ladders_->is_look_due()) return;
  const auto lit_of = [](auto& plan) {
    std::vector<::insight::lit_channel> lit;
    const std::lock_guard lock(plan.get_mutex());
    for (const auto& [frequency, control] : *plan.get_channels()) {
      const auto channel = control->get_channel();
      if (!channel->get_peak()) continue;
      lit.push_back({channel->get_id(), channel->get_attenuation(), channel->get_ocm_power(), {}});
    }
    return lit;
  };
  ladders_->look(*devices_, remote_, lit_of(*rx_plan_), lit_of(*tx_plan_));
}

template <class RX_T, class TX_T>
typename base<RX_T, TX_T>::loop_states base<RX_T, TX_T>::revive_loops(nx_db& db) {
  // A failing init is logged by the loop itself and retried in the next cycle.
  failures_ = {};
  const auto revive = [](const char* direction, std::string& failure, bool was_ok, auto&& init,
                         auto&& is_ok) {
    if (was_ok) return true;
    const log_subject subject(direction);
    bool ok = false;
    with_failure(failure, [&] {
      try {
        init();
        ok = is_ok();
      } catch (...) {
        ok = false;
      }
    });
    return ok;
  };
  const bool rx_was_ok = client_rx_->operational;
  const bool tx_was_ok = client_tx_->operational;
  return {.line = revive(
              nullptr, failures_.line, line_->is_operational(),
              [&] { line_->init(db, supports_embedded_ila()); },
              [&] { return line_->is_operational(); }),
          .rx = revive(
              "rx", failures_.rx, rx_was_ok, [&] { client_rx_->init(db); },
              [&] { return client_rx_->operational; }),
          .tx = revive(
              "tx", failures_.tx, tx_was_ok, [&] { client_tx_->init(db); },
              [&] { return client_tx_->operational; })};
}

template <class RX_T, class TX_T>
const char* base<RX_T, TX_T>::regulate(nx_db& db, const loop_states& ok) {
  const bool clients_turn = client_rx_->peak_regulated;
  if (ok.rx) {
    const log_subject subject("rx");
    with_failure(failures_.rx, [&] { client_rx_->run(db, clients_turn); });
  }
  if (ok.line) {
    with_failure(failures_.line, [&] { line_->run(db, !ok.rx || !clients_turn, coldstart_); });
  }
  if (ok.tx) {
    const log_subject subject("tx");
    with_failure(failures_.tx, [&] {
      client_tx_->run(db, client_tx_->peak_regulated && !client_rx_->peak_regulated);
    });
  }
  watch_loops(ok);
  return clients_turn ? "client rx" : "line";
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::watch_loops(const loop_states& ok) {
  if (!ok.line) line_->note_down(failures_.line);
  line_watch_.look(ok.line && line_->is_operational(), failures_.line);
  rx_watch_.look(ok.rx && client_rx_->operational, failures_.rx);
  tx_watch_.look(ok.tx && client_tx_->operational, failures_.tx);
  stall_watch_.look(line_->get_verdict(), helpers::steady_now());
  line_->refresh_insight();
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::note_overview() {
  overview::cycle_facts facts;
  if (rx_watch_.is_down()) facts.down.emplace_back("client rx", rx_watch_.reason());
  if (tx_watch_.is_down()) facts.down.emplace_back("client tx", tx_watch_.reason());
  neighbour_->look(remote_);
  facts.peer = neighbour_->brief();
  overview_->note_cycle(std::move(facts));
}

template <class RX_T, class TX_T>
void base<RX_T, TX_T>::report(const loop_states& ok, const char* regulating) {
  auto& service = helpers::service_manager::instance();
  if (ok.line && ok.rx && ok.tx) {
    service.status("Regulating");
    LUMORA_LOG(1, "Manager operational, regulating: {}", regulating);
    return;
  }
  const auto word = [](bool is_ok) { return is_ok ? "ok" : "error"; };
  LUMORA_LOG(2, "Manager not fully operational, line {}, rx {}, tx {}", word(ok.line), word(ok.rx),
             word(ok.tx));
  service.status(fmt::format("Not fully operational, line {}, rx {}, tx {}", word(ok.line),
                             word(ok.rx), word(ok.tx)));
}

}  // namespace manager
