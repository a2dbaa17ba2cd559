// Keeps the LEDs of the front panel in step with the loops: they report channels, ports and loss of
// signal here, and one thread of its own turns that into colours once a second and writes those
// that changed to the LED nexel. What a colour means and which LED belongs to which channel is
// decided by the product classes; this class alone does nothing but log.
//
// Threads: reports come from the manager thread and from server threads; led_poll and what it calls
// run on the LED thread. One recursive mutex guards the tables and is held across the writes of
// update_leds, so that a report waits for them.
// The thread keeps the object alive; whoever owns it calls stop before letting go.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

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

  leds();
  virtual ~leds();
  leds(const leds&) = delete;
  leds& operator=(const leds&) = delete;

  /// Before start.
  void set_led(std::shared_ptr<device::interfaces::led> led);

  /// Sizes the tables and starts the thread; `coldstart` asks for the LED test first.
  virtual void start(bool coldstart);
  /// Works out the colours and whether a write is due.
  virtual void update_led_statuses();
  /// The LED test; returns when it is over.
  virtual void boot_thread_function();
  virtual void add_rx_channel(unsigned channel);
  virtual void remove_rx_channel(unsigned channel);
  virtual void add_tx_channel(unsigned channel);
  virtual void remove_tx_channel(unsigned channel);
  /// Writes the LEDs that changed, or all when forced. A client's failure is logged and the entry
  /// stays marked; a refused write throws nx_error -22.
  virtual void update_leds(bool force);
  /// Takes over what the panel shows; throws nx_client_exception.
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

  /// Ends the thread and waits for it: a second at most, or the time-out of the device call that is
  /// under way. May be called again, and without a start.
  void stop();

 protected:
  enum class led_row { client, xc };
  struct led_place {
    led_row row;
    std::size_t index;
  };
  /// Which LED stands for a channel; empty if none does.
  using led_rule = std::function<std::optional<led_place>(unsigned channel, const channelDB_t&)>;

  /// The common part of every product's update_led_statuses. A channel whose state is not fully
  /// known holds back the write of the whole panel.
  void apply_statuses(bool port_needed, const led_rule& place_of);
  /// The common part of every product's LED test.
  void run_led_test(const led_test_plan& plan);
  void start_thread(bool coldstart);

  std::vector<led_data> client_leds_;  ///< index 0 is port 1; "AWG" in log texts
  led_data line_led_;
  std::vector<led_data> xc_leds_;  ///< index 0 is port 1
  bool needs_update_ = false;
  std::recursive_mutex mutex_;

 private:
  friend class led_test;
  using channel_table = std::unordered_map<unsigned, channelDB_t>;
  struct panel;

  void update_line_leds(bool force);
  void update_xc_leds(bool force);
  void update_awg_leds(bool force);
  bool light_channels(const channel_table& channels, bool port_needed, const led_rule& place_of,
                      std::string led_data::*side, panel& fresh) const;
  void light_line(panel& fresh) const;
  void poll_until_failure();
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
  bool coldstart_ = false;
  bool has_paused_ = false;  // of the LED thread: since its last failure
  std::atomic<bool> stop_requested_{false};
  std::thread thread_;
};

}  // namespace manager
