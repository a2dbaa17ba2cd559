// What the loops see of the peer: keeps the connection alive, finds out which product stands at the
// far end, and offers the peer's values. Reads only; nothing of the peer is ever written from here.
//
// Threads: run on the manager thread alone. The getters from the loops and from polled values; they
// never wait for the network. That matters when two nodes meet: each subscribes to values which the
// other works out from its peer's, and would wait for the other's subscription to give up. Lock
// order: channel plan, this lock, that of remote::client.
// Failures of getters: nx_error -22 when the peer's product lacks the value or has not delivered
// it. Powers dBm, losses dB, lengths km, dispersion ps/nm.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "api/status_value.h"
#include "base/channel/plan.h"
#include "base/manager/remote/device/interface.h"
#include "device/subscriber.h"

class nx_db;

namespace device::interfaces {
class osc;
}

namespace manager::remote {

class client;

class api {
 public:
  api();
  ~api();
  api(const api&) = delete;
  api& operator=(const api&) = delete;

  /// One cycle of connection handling. The channels of `plan`, which is the tx plan, are asked of
  /// the peer. Failures are logged and the whole chain starts again at the next call.
  template <class T>
  void run(nx_db& db, std::shared_ptr<::device::interfaces::osc> osc,
           std::shared_ptr<::channel::plan<T>> plan) {
    run_cycle(db, osc, [&plan] { return identifiers(*plan); });
  }

  // Without the lock; these read flags.
  bool is_known() const;  ///< a peer of a listed product, identified on the present connection
  bool is_embedded_ila() const;
  bool has_osnr() const;

  std::string get_hostname();
  float get_fiber_length();
  float get_utilization();
  float get_line_tx_total_power();
  float get_line_rx_total_power();
  float get_line_tx_power();
  float get_line_rx_power();
  float get_line_target_power();
  float get_client_target_power();
  std::string get_line_interface_name(const std::string& direction);
  float get_dispersion();
  float get_osc_loss();
  float get_osc_attenuation();
  float get_osc_tx_power();
  float get_osc_rx_power();
  float get_preamp_power_limit();
  float get_preamp_gain();
  float get_edfa_tx_saturation();
  float get_edfa_tx_calibration();
  float get_preamp_default_gain();
  std::string get_channel_rx_status(unsigned id);
  std::string get_channel_tx_status(unsigned id);
  float get_channel_osnr(unsigned id);
  float get_channel_tx_peak(unsigned id);
  float get_channel_tx_ocm_power(unsigned id);
  float get_channel_rx_power(unsigned id);
  float get_channel_tx_power(unsigned id);
  std::string get_spanloss_section();
  float get_ots_spanloss_tx();
  float get_ots_spanloss_rx();
  float get_oms_spanloss_tx();
  float get_oms_spanloss_rx();
  float get_channel_detection_level();
  float get_tdcm_dispersion();
  float get_final_dispersion();
  std::string get_fiber_type();
  float get_tdcm_offset();

 private:
  using channel_ids = std::vector<unsigned>;
  using channel_source = std::function<channel_ids()>;
  using text_value = std::shared_ptr<nx::api::status_value<std::string>>;

  // Called without this object's own lock, in whose order the plan comes first, and only when they
  // are wanted: the loops before client tx need not wait for a command that holds its plan.
  template <class T>
  static channel_ids identifiers(::channel::plan<T>& plan) {
    const std::lock_guard lock(plan.get_mutex());
    channel_ids ids;
    for (const auto& [frequency, control] : *plan.get_channels()) {
      ids.push_back(control->get_channel()->get_id());
    }
    return ids;
  }

  void run_cycle(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc,
                 const channel_source& channels);
  void keep_connection(nx_db& db, const std::shared_ptr<::device::interfaces::osc>& osc,
                       const channel_source& channels);
  void create_values(nx_db& db);
  void identify_remote();
  void publish_identity();
  void setup_remote_subscriptions(const channel_source& channels);
  void reset();
  void update_flags();

  template <class Result, class... Parameters, class... Args>
  Result forward(Result (device::interface::*operation)(const device::subscriber_ptr&,
                                                        Parameters...),
                 const Args&... args);

  text_value remote_product_value_;
  text_value remote_sw_version_value_;
  text_value remote_hw_revision_value_;
  std::shared_ptr<manager::remote::client> client_;
  std::shared_ptr<::device::subscriber> subscriber_;
  std::shared_ptr<device::interface> device_;
  bool subscribed_ = false;
  std::mutex mutex_;  // guards the pointer to the adapter; everything else is the manager thread's
  std::string product_ = "n/a";
  std::string sw_version_ = "n/a";
  std::string hw_revision_ = "n/a";
  std::chrono::system_clock::time_point last_subscription_;
  std::atomic<bool> known_{false};
  std::atomic<bool> embedded_ila_{false};
  std::atomic<bool> osnr_{false};
};

}  // namespace manager::remote
