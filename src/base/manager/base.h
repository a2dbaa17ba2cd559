// The object that owns everything of a running node: the two channel plans, the three loops, the
// LEDs, the peer and the manager's own values. It builds them in a fixed order and then runs the
// main loop, in which only one of the line loop and the client RX loop may write in a cycle.
// Product managers override single steps.
//
// Threads: start, run and cycle on the manager thread; the channel commands and set_log_level on
// server threads.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <source_location>
#include <string>
#include <vector>

#include "api/status_value.h"
#include "base/channel/plan.h"
#include "base/insight/device_board.h"
#include "base/insight/event_log.h"
#include "base/insight/loop_watch.h"
#include "base/insight/stall_watch.h"
#include "base/manager/insight.h"
#include "base/manager/interface.h"
#include "base/manager/ladders.h"
#include "base/manager/neighbour.h"
#include "base/manager/overview.h"
#include "device/cycle_reads.h"
#include "platform/threads/thread_owner.h"
#include "platform/value_tree/value_group.h"
#include "platform/wire/json.h"

class nx_db;

namespace device::interfaces {
class edfa;
class osc;
}  // namespace device::interfaces
namespace manager {
class leds;
}
namespace manager::remote {
class api;
}
namespace manager::loops {
template <class T>
class client_loop;
template <class T>
class client_rx;
template <class T>
class client_tx;
template <class T>
class line;
}  // namespace manager::loops

namespace manager {

struct add_request;
struct remove_request;

template <class RX_T, class TX_T>
class base : public interface, public std::enable_shared_from_this<base<RX_T, TX_T>> {
 public:
  base();
  virtual ~base();

  /// Builds everything. Devices and store are retried once a second, without limit; any other
  /// failure is thrown.
  void start(nx_db& db) override;
  /// Runs cycles until *running becomes false.
  void run(nx_db& db, bool* running) override;

  /// One cycle of the main loop, including its sleeps: read inputs, the peer, loops that are down,
  /// the loops, report.
  void cycle(nx_db& db, const std::shared_ptr<device::interfaces::osc>& osc);

  virtual void create_client_rx();
  virtual void create_client_tx();
  virtual void create_line();
  virtual void setup_rx_channel_plan(nx_db& db);
  virtual void setup_tx_channel_plan(nx_db& db);
  virtual void init_client_rx(nx_db& db);
  virtual void init_client_tx(nx_db& db);
  virtual void setup_client_rx(nx_db& db);
  virtual void setup_client_tx(nx_db& db);
  virtual void setup_line(nx_db& db);
  virtual void update_channel_index();
  virtual float get_slice_width();     ///< GHz
  virtual unsigned get_slice_count();  ///< of the whole band
  virtual void update_utilization();
  virtual void setup_api(nx_db& db);
  /// Shuts the amplifiers down once after a coldstart of the system; a marker file records it.
  virtual bool coldstart_once(nx_db& db, bool system_coldstart);
  virtual void create_channel_plans() = 0;
  virtual void create_leds();
  virtual void setup_leds(nx_db& db, bool coldstart);
  /// Removes channels that are in one plan only.
  virtual void validate_channel_plans();
  virtual void periodic_update();
  virtual bool supports_embedded_ila();

  /// docs/tree.md describes the commands' JSON. They throw the client's error.
  bool add_channel(const nx::json_document& request);
  bool remove_channel(const nx::json_document& request);
  void set_log_level(std::string text);
  std::string get_hostname();

 protected:
  /// Additional devices of a model's client TX loop; called before its channel plan is set up.
  virtual void add_client_tx_devices(nx_db& db);
  /// The line with its devices and values, before its first init.
  void build_line(nx_db& db, bool has_voa);
  /// The first init of the line, until it succeeds.
  void init_line(nx_db& db, bool embedded_ila);
  /// Waits until the amplifier reports its limit, from which the channels of a fixed plan are
  /// published, so that they are published once and not once a second.
  void await_amplifier(device::interfaces::edfa& amplifier, const char* message);
  /// For setup_leds: the model's panel, with its proxy and its thread.
  void start_leds(nx_db& db, bool coldstart);
  /// Both plans with this many slices of 6.25 GHz.
  void create_plans(unsigned slices);
  /// Repeats the call once a second until it succeeds; failures are logged with `message`. Ends
  /// early only if the process stops.
  void retry_until_done(const std::function<void()>& call, const char* message,
                        const std::source_location& where = std::source_location::current());

  void publish_channel_index(const std::set<unsigned>& identifiers);

  std::optional<std::reference_wrapper<nx_db>> db_;
  std::string product_ = "n/a";
  std::string sw_version_ = "n/a";
  std::string hw_revision_ = "n/a";
  bool coldstart_ = false;
  std::shared_ptr<nx::api::value_group> values_;
  std::shared_ptr<loops::line<RX_T>> line_;
  std::shared_ptr<loops::client_rx<RX_T>> client_rx_;
  std::shared_ptr<loops::client_tx<TX_T>> client_tx_;
  std::shared_ptr<::channel::plan<RX_T>> rx_plan_;
  std::shared_ptr<::channel::plan<TX_T>> tx_plan_;
  std::shared_ptr<manager::leds> leds_;
  std::shared_ptr<remote::api> remote_;
  std::shared_ptr<nx::api::status_value<std::string>> channel_index_;
  std::shared_ptr<nx::api::status_value<float>> utilization_;

 private:
  struct loop_states {
    bool line;
    bool rx;
    bool tx;
  };

  /// The last failure of each loop in this cycle; empty if there was none.
  struct loop_failures {
    std::string line;
    std::string rx;
    std::string tx;
  };

  void build(nx_db& db);
  bool read_system_nexels(nx_db& db);
  void disable_amplifiers(nx_db& db);
  /// Asks all devices at once for everything that this cycle reads without a subscription.
  void read_inputs(device::interfaces::osc& osc);
  loop_states work(nx_db& db, const std::shared_ptr<device::interfaces::osc>& osc);
  loop_states revive_loops(nx_db& db);
  const char* regulate(nx_db& db, const loop_states& ok);
  void watch_loops(const loop_states& ok);
  std::vector<device::read_wish> wishes_of_cycle(device::interfaces::osc& osc);
  void look_at_ladders();
  void note_overview();
  void report(const loop_states& ok, const char* regulating);
  static void tell_channel(::insight::event_kind kind, const char* direction, unsigned center);
  void add_in_directions(const add_request& request, const std::string& version);
  void remove_in_directions(const remove_request& request);
  void refresh_published_channels();

  nx::thread_owner cycles_;    // the manager thread
  device::cycle_reads reads_;  // used only by the manager thread
  loop_failures failures_;
  std::shared_ptr<::insight::device_board> devices_ = std::make_shared<::insight::device_board>();
  std::shared_ptr<ladders> ladders_ = std::make_shared<ladders>();
  std::shared_ptr<neighbour> neighbour_ = std::make_shared<neighbour>();
  ::insight::loop_watch line_watch_{"line"};
  ::insight::stall_watch stall_watch_;
  ::insight::loop_watch rx_watch_{"client rx"};
  ::insight::loop_watch tx_watch_{"client tx"};
  std::shared_ptr<overview> overview_ = std::make_shared<overview>();
  std::shared_ptr<manager::insight> insight_ = std::make_shared<manager::insight>();
  std::atomic<bool> api_is_whole_{false};  // the values that commands publish exist
};

}  // namespace manager
