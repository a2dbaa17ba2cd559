// What the two client loops share: they keep the switch and the monitor in line with the channel
// plan of their direction, read each channel's attenuation, peak and power once a cycle, and close
// the loop of a channel from a monitor reading to an attenuation step.
//
// Threads: init and run on the manager thread; add_channel, remove_channel and the wanted power
// setter on server threads, where they wait for the plan's mutex, which run holds during its walk.
// Failures: init, add_channel and remove_channel log and throw; run logs, clears `operational` and
// returns. A failure on one channel ends only that channel's turn. Units: powers in dBm,
// attenuations and gains in dB, lengths in km. T is the channel control type.
#pragma once

#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "api/status_value.h"
#include "base/channel/plan.h"
#include "base/guards/calibration_evidence.h"
#include "base/guards/channel_step.h"
#include "base/insight/channel_record.h"
#include "base/manager/loops/client_direction.h"
#include "base/manager/loops/edfa_calibration.h"
#include "device/cycle_reads.h"
#include "device/cycle_writes.h"
#include "device/interfaces/edfa.h"
#include "device/interfaces/ocm.h"
#include "device/interfaces/osc.h"
#include "device/interfaces/wss.h"
#include "device/subscriber.h"
#include "helpers/guard.h"
#include "platform/value_tree/value_group.h"

class nx_db;

namespace manager {
class leds;
}
namespace manager::remote {
class api;
}

namespace manager::loops {

template <class T>
class client_loop : public std::enable_shared_from_this<client_loop<T>> {
 public:
  using control_ptr = std::shared_ptr<T>;
  using plan_ptr = std::shared_ptr<::channel::plan<T>>;

  client_loop(const client_direction& direction, plan_ptr plan,
              std::shared_ptr<manager::remote::api> remote);
  virtual ~client_loop() = default;
  client_loop(const client_loop&) = delete;
  client_loop& operator=(const client_loop&) = delete;

  // The manager's flags, used only on its thread.
  bool operational = true;      ///< false after a failure: the manager calls init again
  bool peak_regulated = false;  ///< this loop claims the turn in the next cycle

  void set_wss(std::shared_ptr<device::interfaces::wss> wss);
  void set_ocm(std::shared_ptr<device::interfaces::ocm> ocm);
  void set_edfa(std::shared_ptr<device::interfaces::edfa> edfa);
  void set_osc(std::shared_ptr<device::interfaces::osc> osc);
  void set_leds(std::shared_ptr<manager::leds> leds);

  /// The channel in closed loop: block, unblock, regulate what is lit, park what is dark.
  virtual void manage_channel(nx_db& db, control_ptr control, bool regulate);
  /// One look at a lit channel and, where allowed and possible, one step.
  virtual void manage_channel_peak(control_ptr control, bool regulate);
  virtual void run(nx_db& db, bool regulate) = 0;
  virtual float get_edfa_saturation();
  virtual void reset_channel_attenuation(control_ptr control);
  virtual void update_channel(control_ptr control);
  virtual void update_edfa_calibration();
  virtual bool is_operational();
  virtual bool clean_subscriptions();
  virtual void setup_device_subscription();
  virtual void setup_channel_plan(nx_db& db);
  virtual void init(nx_db& db);
  virtual void check_channel_fit(unsigned frequency, unsigned width);
  virtual bool has_channel(unsigned frequency, unsigned width, unsigned port);
  virtual void add_channel(nx_db& db, unsigned frequency, unsigned width, unsigned port,
                           std::string version);
  virtual void remove_channel(unsigned frequency);
  virtual float get_edfa_calibration();
  virtual void setup_api(nx_db& db);
  virtual void setup_channel_api(nx_db& db, control_ptr control);
  /// Stores the difference between an absolute wanted power, -2 to 12 dBm, and the nominal target.
  virtual void set_wanted_power_offset(unsigned channel, float wanted_power);
  /// The channel's share of the amplifier's power limit by its width.
  virtual float get_channel_target_power(control_ptr control);
  /// Adds what a cycle of this loop reads from its devices without a subscription.
  void declare_reads(std::vector<device::read_wish>& wishes);
  /// The node's automation mode does not allow regulation.
  void note_idle() { conclude_all(::insight::channel_reason::node_leaves_alone, {}); }
  /// Whether the operator can block channels of this direction.
  virtual bool blocks_channels() const { return true; }

 protected:
  /// The results of one look at a lit channel, for the log.
  struct peak_report {
    unsigned id;
    bool regulate;
    float fiber_length;
    float edfa_power_limit;
    float edfa_calibration;
    float channel_power;
    float channel_target_power;
    float power_difference;
    bool possible;
  };

  virtual void log_peak(const peak_report& report);
  /// What a direction does with new knowledge of its amplifier.
  virtual void store_calibration(float calibration) = 0;
  virtual void store_gain() {}

  /// Writes the default attenuation if the channel is more than 0.1 dB off it.
  bool park_channel(const control_ptr& control, int log_level);
  void report_loss_of_signal(nx_db& db, const control_ptr& control);
  void publish_wanted_power(nx_db& db, const control_ptr& control);
  template <class Action>
  void for_each_ready_channel(Action&& action);
  /// Reads and then manages each channel, in order of ascending frequency, each independently.
  /// False if one of them failed.
  bool walk_channels(nx_db& db, bool regulate);
  /// For insight: no channel is looked at, for a reason that applies to all.
  void conclude_all(::insight::channel_reason reason, const std::string& text);

  const client_direction& direction_;
  plan_ptr plan_;
  std::shared_ptr<manager::remote::api> remote_;
  std::shared_ptr<nx::api::value_group> values_;
  std::shared_ptr<device::interfaces::wss> wss_;
  std::shared_ptr<device::interfaces::ocm> ocm_;
  std::shared_ptr<device::interfaces::edfa> edfa_;
  std::shared_ptr<device::interfaces::osc> osc_;
  std::shared_ptr<manager::leds> leds_;

 private:
  bool calibration_is_due() const;
  bool is_calibration_withheld();
  void calibrate();
  void follow_edfa();
  void learn_calibration();
  bool is_opening_withheld(const control_ptr& control, float power_difference);
  bool is_parking_withheld(const control_ptr& control);
  std::string calibration_subject() const;
  void block_or_unblock(const control_ptr& control, bool block);
  peak_report measure_peak(const control_ptr& control, bool regulate);
  /// Passes results to insight, with the plan's mutex held.
  void tell_verdicts();
  void visit_channel(nx_db& db, const control_ptr& control, bool regulate);
  void create_device_plans();
  void publish_channel(nx_db& db, const control_ptr& control);
  void show_on_leds(unsigned frequency, unsigned port);
  /// Returns the channels for which the device sent no value.
  std::set<unsigned> subscribe_channels(device::interface& device);
  void count_subscribe_failures(const std::set<unsigned>& failed);
  // Those used by the add command expect the plan's mutex to be held.
  void require_loaded_plan() const;
  static void require_width(unsigned width, unsigned band_slices);
  bool plan_has(unsigned frequency, unsigned width, unsigned port) const;
  void require_fit(unsigned frequency, unsigned width) const;
  template <class Device, class Add>
  void add_to_device(Device& device, unsigned frequency, Add&& add);
  void program_channel(unsigned frequency, unsigned width, unsigned port,
                       const std::string& version);
  void ask_for_limit();
  void finish_adding(nx_db& db, unsigned frequency);
  void remove_from_devices(unsigned frequency);
  template <class Device>
  void remove_from_device(Device& device, const char* message, unsigned frequency);

  /// What is left of one channel's turn to check after the walk.
  struct turn {
    control_ptr control;
    std::size_t first_write = 0;
    std::size_t end_of_writes = 0;
    bool has_stepped = false;
    bool reads_back = false;  ///< the attenuation, once the switch has accepted the write
  };
  void finish_turns(const device::cycle_writes& writes, helpers::walk_guard& walk);
  void refresh_attenuations();
  void read_back(const control_ptr& control);
  /// The switch has accepted a step: the loop claims the next turn too.
  void note_step();

  /// How far an add got that broke off after the channel was in the plan.
  struct broken_add {
    bool published = false;
  };

  std::list<std::shared_ptr<device::interface>> devices_;
  // By frequency, guarded by the plan's mutex: repeating the command continues from there.
  std::map<unsigned, broken_add> broken_adds_;
  std::shared_ptr<nx::api::status_value<float>> edfa_saturation_value_;
  edfa_calibration edfa_calibration_;
  guards::calibration_evidence calibration_evidence_;
  guards::amplifier_saturation saturation_;
  // The first calibration waits for valid readings, whatever is regulated meanwhile.
  bool has_calibrated_ = false;
  bool knows_power_limit_ = false;
  guards::blind_monitor blind_monitor_;
  std::vector<turn> turns_;  // in the present walk: those that wrote
  turn* turn_ = nullptr;     // null outside a walk
  // From the last walk: a channel was reported as lit, a power had changed since its subscription.
  bool any_lit_ = false;
  bool any_changed_ = false;
  bool edfa_is_lit_ = false;
  float edfa_power_limit_ = 20.0f;
  float fiber_length_ = 1.0f;
  // False from the loading of a plan until its channels are on the tree: a failure in between
  // leaves the devices with a plan whose channels nobody regulates.
  bool plan_is_set_up_ = true;
  // False from the start of loading until it has succeeded, guarded by the plan's mutex: a channel
  // added meanwhile would be stored in place of everything that could not be read.
  bool plan_is_loaded_ = true;
  // Time of a regulation step or a calibration update: the calibration follows the amplifier only
  // in a settled system.
  std::chrono::system_clock::time_point last_regulation_;
};

}  // namespace manager::loops
