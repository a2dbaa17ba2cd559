// The regulator of one channel: owns the channel, calculates the power it should have, decides
// whether it may be changed now, and writes one attenuation step to the given switch. Between
// cycles it remembers only the last step: no further step is taken until the monitor has shown a
// new reading and the switch a different attenuation. On top of that law are guards, which withhold
// a step that lacks evidence, and end a wait that would never end.
//
// Threads: the loops call it with the plan's mutex held; set_default_attenuation and
// set_description are called on server threads without it. T is the product's channel class.
#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "api/hysteresis_filtered_value.h"
#include "base/guards/channel_step.h"
#include "base/insight/channel_record.h"
#include "device/interfaces/wss.h"
#include "helpers/guard_register.h"
#include "platform/value_tree/value_group.h"

class nx_db;

namespace channel::control {

template <class T>
class base : public std::enable_shared_from_this<base<T>> {
 public:
  using channel_type = T;

  base();
  /// No guard stays on a channel that is gone.
  virtual ~base();
  base(const base&) = delete;
  base& operator=(const base&) = delete;

  virtual std::shared_ptr<T> get_channel();

  virtual bool is_admin_up();
  virtual bool is_admin_down();

  /// The loop's last verdict: within 0.5 dB of the target. The line regulation relies on it.
  virtual bool is_on_target();
  virtual void set_on_target(bool on_target);

  /// dBm; fibre length in km, total power of the band in dBm.
  virtual float get_target_power(float fiber_length, float total_power);
  virtual float get_tilt_loss(float fiber_length);

  /// What the loop found in its present look at a channel, for the guards. A control that was never
  /// given a look follows the law alone.
  struct look {
    guards::channel_view view;
    bool lit = false;
    /// The newest reports of monitor and switch were valid readings.
    bool is_known = true;
    unsigned power_arrivals = 0;  ///< of the present subscription
    unsigned power_changes = 0;
  };
  void take_look(const look& now);

  // The result of this look, for insight: each phase says why it leaves the channel as it is, or
  // what it did, with the figures that it decided on.
  void conclude(insight::channel_reason reason) { verdict_.reason = reason; }
  void note_measurement(float target, float wish, float measured, float power_difference);
  void note_fibre(float length_km) { verdict_.fibre_km = length_km; }
  /// The look ended early.
  void note_failure(insight::channel_reason reason, std::string text);
  const insight::channel_verdict& get_verdict() const { return verdict_; }
  const std::shared_ptr<insight::channel_record>& get_record() const { return record_; }

  /// Time of the reading on which the present look is based.
  guards::time_point get_power_time() const;
  bool is_reading_known() const { return is_known_; }
  /// Its readings are invalid, like those of a lit channel whose instruments report nonsense for a
  /// while.
  bool is_darkness_doubtful() const;
  /// The monitor's readings are current, not from before its start.
  bool is_reading_live() const;
  /// For guards whose state the loop holds; `active` false ends them.
  void withhold(const helpers::guard_kind& guard, const std::string& reason);
  void release_guards();
  std::string guard_subject();
  /// The default attenuation at which this switch can park; empty if the switch's range would only
  /// allow a lighter one than the default, or if the default is not a number.
  std::optional<float> get_parking_attenuation(device::interfaces::wss& wss);
  /// For `target`, a parking attenuation: it has been written, and the switch has reached it.
  bool is_parked(float target);
  void note_parking(float target) { parked_at_ = target; }

  /// Writes one step for this difference; device errors are passed on.
  virtual void regulate(std::shared_ptr<device::interfaces::wss> wss, float power_difference);
  /// The switch has refused this turn's write: the memory of it is undone. The reading that it
  /// answered stays recorded, so that the next try waits for a new one.
  void take_back_write();

  // Number of consecutive failed channel subscriptions.
  virtual void add_subscribe_failure();
  virtual unsigned get_subscribe_failures();
  virtual void reset_subscribe_failures();

  /// Forgets the last step: the next one depends only on the error.
  virtual void reset_last_step();
  /// The error is beyond the dead band, the attenuator has room, and both the reading and the
  /// attenuation have changed since the last step.
  virtual bool can_regulate(std::shared_ptr<device::interfaces::wss> wss, float power_difference);
  virtual bool is_calming_down();

  /// These throw nx_error -22 for a direction other than "rx" and "tx".
  virtual void set_default_attenuation(float attenuation);
  virtual float get_default_attenuation();
  virtual void set_description(std::string description);

  /// Creates the tree values of the control; the channel's id and direction must be set.
  virtual void setup_channel_api(nx_db& db, std::shared_ptr<nx::api::value_group> values);
  virtual std::string get_wss_port_name();

 protected:
  std::string value_path(const char* root, const char* name);
  /// The configured default attenuation; empty if none has been set.
  std::optional<float> get_configured_attenuation();

 private:
  struct last_step {
    std::optional<float> power;
    std::optional<float> attenuation;
  };
  /// Updates the memory after a write.
  struct memory {
    std::optional<float> attenuation;
    guards::last_step evidence;
    std::optional<float> parked_at;
  };

  bool is_step_withheld(device::interfaces::wss& wss, float power_difference);
  void withhold(const helpers::guard_kind& guard, const std::string& text,
                insight::channel_reason reason);
  /// A step has been made, and the light has not shown it yet.
  bool is_effect_awaited() const;
  void note_room(device::interfaces::wss& wss, float standing, float band);
  insight::channel_reason law_reason(float power_difference, bool large_enough, bool exhausted,
                                     bool attenuation_updated, bool power_updated) const;
  insight::channel_reason futile_reason(device::interfaces::wss& wss, float target) const;
  float step_target(device::interfaces::wss& wss, float power_difference);
  float standing_attenuation();
  void remember_difference(float power_difference, unsigned power_updates);
  float history_range() const;
  bool is_exhausted(device::interfaces::wss& wss, float attenuation, float power_difference);
  std::optional<float>& default_of_direction();

  bool on_target_ = true;
  std::shared_ptr<T> channel_;
  std::deque<float> power_history_;  // differences since the last step, for the log
  bool calm_down_ = false;
  unsigned history_limit_ = 2;
  mutable std::mutex settings_mutex_;  // guards what server threads write
  std::optional<float> default_attenuation_rx_;
  std::optional<float> default_attenuation_tx_;
  std::shared_ptr<nx::api::pushed_value<float>> default_attenuation_value_;
  std::string description_;
  unsigned subscribe_failures_ = 0;
  last_step last_step_;

  std::optional<guards::channel_view> view_;
  guards::last_step evidence_;
  guards::rising_light rising_;
  guards::live_reading live_;
  bool is_known_ = true;
  guards::time_point known_at_{};  ///< when its readings were last known
  const helpers::guard_kind* active_guard_ = nullptr;
  std::optional<float> parked_at_;
  memory before_turn_;

  insight::channel_verdict verdict_;
  const std::shared_ptr<insight::channel_record> record_ =
      std::make_shared<insight::channel_record>();
};

}  // namespace channel::control
