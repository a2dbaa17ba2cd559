// One wavelength in one client direction of the node: its place in the spectrum, the switch port it
// uses, what the monitor measures, what attenuation is set, and the tree values that show all this.
// It contains no control logic: the loops write measurements into it, and channel::control::base
// reads them to decide. A wavelength that is used in both directions has two channel objects.
//
// Threads: the loops access it with the plan's mutex held; the tree values lock themselves. Units:
// frequency and width in 10 MHz, powers in dBm, attenuation and losses in dB, wavelength in nm.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "api/status_value.h"
#include "helpers/calibration.h"
#include "platform/value_tree/value_group.h"

class nx_db;

namespace channel {

class base {
 public:
  base();
  virtual ~base() = default;
  base(const base&) = delete;
  base& operator=(const base&) = delete;

  virtual void set_value_group(std::shared_ptr<nx::api::value_group> group);
  virtual std::shared_ptr<nx::api::value_group> get_value_group();

  /// Used by paths and device accesses; equal to the centre frequency unless a product renumbers.
  virtual unsigned get_id();
  virtual void set_id(unsigned id);
  virtual unsigned get_channel_id();

  /// "rx" is client to line (add), "tx" is line to client (drop); "na" until it is in a plan.
  virtual std::string get_direction();
  virtual void set_direction(std::string direction);

  virtual float get_width();  ///< GHz
  virtual unsigned get_raw_width();
  virtual void set_width(unsigned width);
  virtual std::string get_created_version();
  virtual void set_created_version(std::string version);

  virtual float get_ocm_power();
  /// A repeated reading changes nothing; a new one is counted, so that the control logic can tell a
  /// fresh measurement from a repeated one. Throws nx_error -61 if it is not finite.
  virtual void set_ocm_power(float power);

  virtual unsigned get_center_frequency();
  virtual void set_center_frequency(unsigned frequency);
  virtual float get_wavelength();

  virtual bool get_peak();
  virtual void set_peak(bool peak);
  virtual float get_attenuation();
  virtual float set_attenuation(float attenuation);
  virtual unsigned get_wss_port();
  virtual void set_wss_port(unsigned port);

  /// False until setup_api has finished: the loops leave such a channel alone.
  virtual bool is_api_ready();

  virtual unsigned get_power_updates();
  virtual void reset_power_updates();

  /// Creates the channel's tree values; id and direction must be set by then.
  virtual void setup_api(nx_db& db);

  /// Creates "alarms/client/ID/DIRECTION/NAME/severity" when first used.
  virtual void set_alarm(nx_db& db, const std::string& name, unsigned severity);

  /// Recalculates the power at the client port from the last reading. Throws nx_error -22 for a
  /// direction other than "rx" and "tx".
  virtual void update_power();

  virtual float set_wanted_power_offset(float offset);

  /// Offset added to the channel's target, dB.
  float get_wanted_power_offset() const;
  /// Second part of the board's key for this channel's loss offset: its position in a fixed plan.
  void set_loss_offset_index(unsigned index);

 protected:
  template <class T>
  using status_ptr = std::shared_ptr<nx::api::status_value<T>>;

  std::string value_path(const char* name) const;
  void publish_power(float power);

  std::shared_ptr<nx::api::value_group> values_;

 private:
  void create_constants(nx_db& db);
  float loss_offset_db();

  std::map<std::string, status_ptr<unsigned>> alarms_;
  std::atomic<std::uint32_t> id_{0};  // read by polled values while a product renumbers
  std::uint32_t center_frequency_ = 0;
  std::uint32_t width_ = 0;
  std::uint32_t wss_port_ = 2;
  std::uint32_t loss_offset_index_ = 0;
  std::optional<board_number> loss_offset_db_;  // once it was asked for
  float wavelength_ = 0;
  float ocm_power_ = 0;
  std::string direction_ = "na";
  std::string created_version_ = "n/a";
  std::uint32_t power_updates_ = 0;
  status_ptr<float> power_;
  status_ptr<float> attenuation_;
  status_ptr<float> ocm_power_value_;
  status_ptr<bool> peak_;
  status_ptr<std::string> status_;
  status_ptr<float> wanted_power_offset_;
  bool api_ready_ = false;
};

}  // namespace channel
