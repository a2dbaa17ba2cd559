// Keeps the LEDs of the front panel in line with the loops. The loops report channels, ports and
// loss of signal here, and a separate thread turns that into colours once a second and writes those
// that changed to the LED nexel. What a colour means and which LED belongs to which channel is
// decided by the product classes; on its own this class only logs.
//
// Threads: reports come from the manager thread, under the locks of its plans, and from server
// threads; they only record what is wanted. led_poll and what it calls run on the LED thread, the
// only one that talks to the panel. One mutex guards the tables; it is never held across a call, so
// a panel that is slow or away delays nobody. The thread keeps the object alive; the owner calls
// stop before dropping it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "base/insight/loop_watch.h"
#include "base/manager/led_exchange.h"
#include "platform/threads/ranked_mutex.h"
#include "platform/threads/thread_owner.h"

namespace device::interfaces {
class led;
}

namespace manager {

class led_test;
struct led_test_plan;

/// One LED pair: tx and rx of one port.
struct led_data {
  std::string tx = "off";
  std::string rx = "off";
  bool changed = false;
};

/// What is known of one channel in one direction.
struct channelDB_t {
  std::uint32_t port = 0;
  bool port_known = false;
  bool loss_of_signal = false;
  bool los_known = false;
};

class leds : public std::enable_shared_from_this<leds> {
 public:
  static constexpr const char* led_status_off = "off";
  static constexpr const char* led_status_green = "green";
  static constexpr const char* led_status_yellow = "yellow";
  static constexpr const char* led_status_orange = "orange";
  static constexpr const char* led_status_red = "red";
  /// Before a panel that is away, or not ready, is asked again.
  static constexpr std::chrono::seconds not_ready_pause{1};

  leds();
  virtual ~leds();
  leds(const leds&) = delete;
  leds& operator=(const leds&) = delete;

  /// Before start.
  void set_led(std::shared_ptr<device::interfaces::led> led);

  /// Sizes the tables and starts the thread; with `coldstart` the LED test comes first.
  virtual void start(bool coldstart);
  /// Determines the colours and whether a write is due.
  virtual void update_led_statuses();
  /// The LED test; returns when it is over.
  virtual void boot_thread_function();
  virtual void add_rx_channel(unsigned channel);
  virtual void remove_rx_channel(unsigned channel);
  virtual void add_tx_channel(unsigned channel);
  virtual void remove_tx_channel(unsigned channel);
  /// Writes the LEDs that changed, or all if forced, in one exchange. Failures are logged and their
  /// LED pairs stay marked; then a refused write throws nx_error -22, and a panel that is away
  /// nx_client_exception.
  virtual void update_leds(bool force);
  /// Adopts what the panel shows; throws nx_client_exception if it is away. An LED that cannot be
  /// read is written.
  virtual void read_led_statuses();
  /// The body of the thread; returns after stop.
  virtual void led_poll();
  virtual void update_rx_loss_of_signal(unsigned channel, bool value);
  virtual void update_tx_loss_of_signal(unsigned channel, bool value);
  virtual void update_rx_port(unsigned channel, unsigned port);
  virtual void update_tx_port(unsigned channel, unsigned port);
  virtual void set_line_rx_los(bool value);
  virtual void set_line_tx_enabled(bool value);

  /// One pass of the thread, without its pause.
  void run_pass();

  /// Ends the thread and waits for it: at most a second or, unless the process is stopping, the
  /// time-out of the device call in progress. May be called again, and without a start.
  void stop();

 protected:
  enum class led_row { client, xc };
  struct led_place {
    led_row row;
    std::size_t index;
  };
  /// The LED of a channel; empty if it has none.
  using led_rule = std::function<std::optional<led_place>(unsigned channel, const channelDB_t&)>;

  /// The common part of every product's update_led_statuses. A channel whose state is not fully
  /// known holds back writing the whole panel for a while, and its own LED permanently.
  void apply_statuses(bool port_needed, const led_rule& place_of);
  /// The common part of every product's LED test.
  void run_led_test(led_test_plan plan);
  void start_thread(bool coldstart);

  std::vector<led_data> client_leds_;  ///< index 0 is port 1; "AWG" in log texts
  led_data line_led_;
  std::vector<led_data> xc_leds_;  ///< index 0 is port 1
  bool needs_update_ = false;
  nx::ranked_mutex mutex_{nx::lock_rank::panel};

 private:
  friend class led_test;
  using channel_table = std::unordered_map<unsigned, channelDB_t>;
  struct panel;

  /// Why the thread is not polling; each change is logged once.
  enum class trouble { none, not_ready, away, other };
  struct pair_write;

  std::vector<pair_write> take_due_writes(bool force);
  void log_due_writes(const std::vector<pair_write>& writes);
  void settle_writes(const std::vector<pair_write>& writes);
  void tell_failures(const std::vector<pair_write>& writes, bool is_away);
  led_data& entry_at(device::interfaces::led_address::panel_row row, unsigned number);
  bool light_channels(const channel_table& channels, bool port_needed, const led_rule& place_of,
                      std::string led_data::*side, panel& fresh) const;
  void light_line(panel& fresh) const;
  void keep_side(panel& fresh, std::string led_data::*side, std::optional<led_place> place) const;
  bool may_write(bool all_known);
  void poll_until_failure();
  void wait_for_panel();
  void meet(trouble now, const char* channel, const std::string& text);
  void recover();
  bool pause(std::chrono::nanoseconds duration);
  bool is_stopping() const;

  std::uint32_t poll_interval_ms_ = 1000;
  bool line_rx_los_ = false;
  bool line_rx_known_ = false;
  bool line_tx_enabled_ = false;
  bool line_tx_known_ = false;
  channel_table rx_channels_;
  channel_table tx_channels_;
  std::shared_ptr<device::interfaces::led> led_;

  // Used only by the LED thread.
  nx::thread_owner panel_user_;
  bool coldstart_ = false;
  bool test_was_refused_ = false;
  led_exchange exchange_;
  trouble trouble_ = trouble::none;
  ::insight::loop_watch watch_{"panel"};
  std::map<std::string, led_data> announced_;  // failed writes so far, by the log's name
  std::set<std::string> told_failures_;        // of the last writes
  std::optional<std::chrono::steady_clock::time_point> unknown_since_;

  std::atomic<bool> stop_requested_{false};
  std::thread thread_;
};

}  // namespace manager
