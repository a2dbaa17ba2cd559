// The loop that owns the fibre pair of the node: the line VOA after the booster, the booster, the
// preamp, the supervisory channel (OSC) and its SFP. Each cycle determines the state of the fibre
// and acts on it. If the fibre is fine and the peer is known, one of two regulators runs:
// manage_line moves the VOA according to what the peer's monitor measures of this node's channels,
// and manage_embedded_ila_line sets VOA and preamp gain from the spans measured by an in-line
// amplifier. Only this node's side is ever written.
//
// Everything that does not depend on the channel control type is here and compiled once; line.h
// adds the two operations that walk over the channels.
//
// Threads: init, run and what they call on the manager thread. The getters on the pollers of the
// value tree; they read devices and the peer. Failures: init logs and throws; run logs, clears
// `operational` and returns; an exception of a getter becomes its value's error. Units: powers in
// dBm, attenuations, gains and losses in dB, lengths in km, dispersion in ps/nm.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "api/hysteresis_filtered_value.h"
#include "api/lazy_value.h"
#include "api/status_value.h"
#include "base/guards/line_attenuator.h"
#include "base/guards/line_saturation.h"
#include "base/insight/line_verdict.h"
#include "base/manager/loops/line_peer.h"
#include "base/manager/loops/line_record.h"
#include "base/manager/loops/measured_spans.h"
#include "device/cycle_reads.h"
#include "device/interfaces/edfa.h"
#include "device/interfaces/osc.h"
#include "device/interfaces/sfp.h"
#include "device/interfaces/voa.h"
#include "platform/value_tree/value_group.h"

class nx_db;

namespace manager {
class leds;
}
namespace manager::loops {

struct line_values;

class line_loop : public std::enable_shared_from_this<line_loop> {
 public:
  explicit line_loop(std::shared_ptr<manager::remote::api> remote);
  virtual ~line_loop();
  line_loop(const line_loop&) = delete;
  line_loop& operator=(const line_loop&) = delete;

  // Before setup_api. A product without a line VOA sets none: it then counts as 0 dB.
  void set_osc(std::shared_ptr<device::interfaces::osc> osc) { osc_ = std::move(osc); }
  void set_sfp(std::shared_ptr<device::interfaces::sfp> sfp) { sfp_ = std::move(sfp); }
  void set_voa(std::shared_ptr<device::interfaces::voa> voa) { voa_ = std::move(voa); }
  void set_preamp(std::shared_ptr<device::interfaces::edfa> preamp) { preamp_ = std::move(preamp); }
  void set_booster(std::shared_ptr<device::interfaces::edfa> booster) {
    booster_ = std::move(booster);
  }
  void set_leds(std::shared_ptr<manager::leds> leds) { leds_ = std::move(leds); }

  /// The mean error of the channels at the peer as a gradient, with the sign of the step in
  /// attenuation; empty if the peer's powers have not changed since the last call.
  virtual std::optional<float> calculate_lms_error() = 0;
  /// Records a gradient; true if the last ones agree.
  virtual bool lms_calmdown(float error) = 0;
  /// One cycle of a regulator; nothing is written unless `regulate`.
  virtual void manage_line(nx_db& db, bool regulate);
  virtual void manage_embedded_ila_line(nx_db& db, bool regulate);
  /// `embedded_ila`: this node may act as the terminal for an in-line amplifier.
  virtual void init(nx_db& db, bool embedded_ila);
  virtual float get_wanted_power();
  virtual void set_wanted_power(float power);
  /// The attenuation at which a fresh line opens: calculated with the peer, or the board's preset.
  virtual void set_voa_default_attenuation();
  /// Bandwidth in GHz.
  virtual float calculate_voa_attenuation(float target_output_power, float bandwidth);
  virtual void set_booster_enabled(bool enabled);
  /// For products that compensate dispersion: the fibre has just been opened.
  virtual void trigger_initial_tdcm_setting();
  virtual void regulate(nx_db& db, bool regulate);
  /// One cycle. `regulate`: this cycle may write settings; `coldstart`: the whole system has been
  /// powered up.
  virtual void run(nx_db& db, bool regulate, bool coldstart);
  virtual float get_osc_rx_power();
  virtual float get_osc_rx_power_unchecked();
  virtual float get_osc_tx_power();
  virtual float get_osc_tx_power_unchecked();
  virtual float get_line_rx_signal_power();
  virtual float get_line_tx_signal_power();
  virtual void setup_api(nx_db& db);
  virtual bool is_voa_ready();
  /// Adds what a cycle of the line reads from its devices without a subscription.
  void declare_reads(std::vector<device::read_wish>& wishes);
  virtual bool is_operational();
  /// Creates "alarms/line/NAME/severity" when first used.
  virtual void update_alarm(nx_db& db, const std::string& name, bool active);

  /// The loop is down and had no cycle; `failure` is the reason.
  void note_down(const std::string& failure);
  /// The node does not regulate, because of its automation mode.
  void note_idle(const std::string& mode);
  /// The VOA's read-back, from the cycle's snapshot.
  void note_attenuation(float attenuation) { record_.note_attenuation(attenuation); }
  /// Sends what has changed under "insight/line" to subscribers; at the end of a cycle.
  void refresh_insight();

  // The line's result of the last cycle; does not wait for one in progress.
  ::insight::line_verdict get_verdict() const { return record_.verdict(); }
  ::insight::actuator_record get_voa_record() const { return record_.steps(); }
  bool has_given_way() const { return record_.has_given_way(); }
  std::string get_state();
  std::string get_why();
  float get_headroom_up();    ///< how much the VOA can still open
  float get_headroom_down();  ///< how much it can still close
  unsigned get_steps();
  unsigned get_steps_last_hour();

  // Getters of the published values.
  float get_lms_step_size();
  float get_preamp_gain();
  float get_preamp_default_gain();
  float get_preamp_power_limit();
  float get_line_rx_total_power();
  float get_line_tx_total_power();
  std::string get_line_rx_status();
  std::string get_line_tx_status();
  std::string get_local_hostname();
  std::string get_remote_hostname();
  float get_remote_utilization();
  float get_remote_wanted_power();
  float get_remote_line_tx_total_power();
  float get_remote_line_rx_total_power();
  float get_remote_osc_rx_power();
  float get_remote_osc_tx_power();
  float get_remote_osc_attenuation();
  float get_remote_osc_loss();
  float get_remote_osc_dispersion();
  float get_osc_dispersion();
  float get_line_rx_loss();
  float get_line_tx_loss();
  float get_osc_rx_loss();
  float get_osc_tx_loss();
  float get_line_rx_fiber_length();
  float get_line_tx_fiber_length();
  float get_osc_tx_attenuation();  ///< dB/km
  float get_total_attenuation_per_kilometer();
  float get_remote_total_attenuation();  ///< dB/km
  std::string get_line_interface_name(const char* direction);
  std::string get_remote_line_interface_name(const char* direction);
  std::string get_voa_preset_settings();

 protected:
  using pushed_float = std::shared_ptr<nx::api::pushed_value<float>>;
  using time_point = std::chrono::system_clock::time_point;

  /// What is remembered of one channel at the peer.
  struct remote_channel_state {
    bool peak = false;
    std::deque<float> power_history;  // dBm, at most 6
  };
  using steady_point = std::chrono::steady_clock::time_point;

  static constexpr const char* guard_subject = "line";

  using line_reason = ::insight::line_reason;
  /// The present cycle's verdict so far; the last one in a cycle counts.
  void judge(line_reason reason, std::array<float, 3> figures = {}, std::string word = {});
  /// The regulator has nothing to work on, or errors that do not agree yet.
  /// `any_counts`: a channel is on target here and has a power at the peer.
  void judge_nothing_new(bool any_counts);
  void judge_unsteady(float spread, float threshold);

  /// When the newest of this node's channels changed at the peer; empty before the first change on
  /// the present connection.
  virtual std::optional<steady_point> newest_channel_change() = 0;
  /// For a regulator whose setting depends on a span that is not known, and is again.
  void judge_unknown_span();
  void note_known_span() { span_unknown_since_.reset(); }
  /// Whether a channel's reading at the peer shows the effect of the last write.
  bool is_fresh(const line_peer::reading& power) const;
  /// The measured loss of the incoming fibre; empty while one of its two powers is unknown.
  std::optional<float> known_rx_span();
  void withhold(const helpers::guard_kind& guard, const std::string& reason);
  static void begin_guard(const helpers::guard_kind& guard, const std::string& reason);
  static void end_guard(const helpers::guard_kind& guard);

  // Used only by the manager thread.
  bool operational_ = true;
  bool coldstart_done_ = false;
  float saturation_threshold_ = 0.2f;    ///< dB
  std::optional<bool> line_connection_;  ///< empty before the first decision
  bool embedded_ila_ = false;
  std::deque<float> error_history_;
  std::size_t error_history_size_ = 5;
  std::map<unsigned, remote_channel_state> channel_states_;
  std::vector<std::optional<float>> last_remote_powers_;  ///< dBm; empty if unknown
  float fresh_gradient_ = 0;                    ///< of the channels whose reading is fresh
  std::optional<steady_point> powers_changed_;  ///< at the peer, as last seen by the regulator
  unsigned active_ = 0;                         ///< number of channels that counted then
  line_peer peer_;
  guards::attenuator_watch gain_watch_;  ///< for the preamp's gain, another setting to be watched

  // Also read by the pollers.
  std::shared_ptr<manager::remote::api> remote_;
  std::shared_ptr<nx::api::value_group> values_;
  std::shared_ptr<device::interfaces::osc> osc_;
  std::shared_ptr<device::interfaces::sfp> sfp_;
  std::shared_ptr<device::interfaces::voa> voa_;
  std::shared_ptr<device::interfaces::edfa> preamp_;
  std::shared_ptr<device::interfaces::edfa> booster_;
  std::shared_ptr<manager::leds> leds_;
  std::atomic<float> lms_gradient_{0.0f};
  std::atomic<std::optional<float>> wanted_power_;  ///< dBm
  const float lms_step_size_ = 0.1f;

  pushed_float lms_error_value_;

 private:
  friend struct line_values;

  /// The inputs of the last embedded setting, for the log.
  struct embedded_record {
    float remote_minimum_gain = 0;
    float target_output_power = 0;
    float attenuation = 0;
    float used_tx_span = 0;
    float used_rx_span = 0;
    float line_calibration = 0;
    float voa_insertion_loss = 0;
    float preamp_gain = 0;
    float preamp_default_gain = 0;
  };

  /// The attenuation at which the line opens, until the VOA shows it.
  struct opening {
    float wanted;
    bool awaits_peer = true;  ///< the preset, until the peer has been read
    bool is_shown = false;
  };

  /// A step of the VOA wanted by a regulator.
  struct adjustment {
    float change;
    std::optional<float> saturation{};  ///< of the far preamp, if that is the reason
    bool saturation_is_lost = false;
  };
  struct remote_saturation {
    float value;
    bool is_lost = false;  ///< the peer has reported it before, but now reports the impossible
  };

  /// At the line connector; empty if it cannot be read or is dark.
  struct known_powers {
    std::optional<float> signal;
    std::optional<float> total;
  };

  void begin_verdict();
  void publish_verdict();
  float known_attenuation() const;
  void run_cycle(nx_db& db, bool regulate, bool coldstart);
  void look_at_peer();
  void begin_with_new_peer();
  void begin_with_new_fibre();
  void act_on_fibre(nx_db& db, bool osc_up, bool regulate, bool coldstart);
  bool is_osc_up();
  bool sees_supervisory_light();
  bool open_after_coldstart();
  void close_lost_fibre();
  void tell_cut(bool is_cut);
  void enable_amplifiers();
  void reopen_fibre();
  void show_light_that_was_on();
  void work_on_open_fibre(nx_db& db, bool osc_up, bool regulate);
  void update_spanlosses();
  known_powers known_powers_of(float (line_loop::*signal)(), float (line_loop::*osc)());
  known_powers known_line_rx_powers();
  known_powers known_line_tx_powers();

  std::optional<float> attenuation_from_peer();
  void open_with_peer();
  void write_opening(bool at_once);
  void continue_opening(bool osc_up);
  bool peer_is_without_opening() const;
  void end_opening();
  float read_voa();
  void write_voa(float present, float attenuation);
  void forget_measurements();

  remote_saturation read_remote_saturation();
  std::optional<adjustment> wanted_adjustment();
  std::optional<float> lms_adjustment();
  void judge_unknown_peer();
  void judge_silence();
  void judge_at_rest(float change);
  void judge_without_turn(const adjustment& wanted);
  void judge_exhausted(float current, float change);
  void wait_for_attenuator(const guards::attenuator_watch::decision& decision, float current,
                           float change);
  void step_voa(float current, float minimum, float maximum, const adjustment& wanted);
  bool may_step(const adjustment& wanted);
  bool is_saturation_fresh(float saturation);

  bool is_spanloss_check_due();
  bool take_spanloss_samples();
  bool are_spans_known() const;
  void take_back_unanswered_settings();
  void withhold_setting(const std::string& reason);
  void set_voa_from_span(float tx_span);
  void set_preamp_from_span(float rx_span);
  void print_data_to_log(bool attenuation);

  float voa_attenuation();
  float voa_insertion_loss();

  ::insight::line_verdict verdict_;  // of the cycle in progress
  line_record record_;
  std::vector<std::shared_ptr<nx::api::lazy_node>> insight_values_;

  guards::attenuator_watch voa_watch_;
  guards::saturation_steps saturation_steps_;
  std::optional<steady_point> saturation_withheld_since_;
  std::optional<opening> opening_;
  std::optional<steady_point> span_unknown_since_;
  std::optional<steady_point> peer_up_since_;
  std::optional<steady_point> link_up_;  ///< when it was last seen up, or first seen at all
  steady_point link_down_;               ///< when the supervisory channel was last seen down
  steady_point spans_since_;  ///< the peer's earlier reports on the spans are not about this fibre
  std::optional<steady_point> coldstart_pause_ended_;
  bool coldstart_opened_ = false;
  bool is_light_shown_ = false;
  bool is_cut_told_ = false;

  std::map<std::string, std::shared_ptr<nx::api::status_value<unsigned>>> alarms_;
  pushed_float spanloss_oms_tx_;
  pushed_float spanloss_oms_rx_;
  pushed_float spanloss_ots_tx_;
  pushed_float spanloss_ots_rx_;
  std::optional<time_point> last_spanloss_check_;
  std::optional<time_point> last_spanloss_update_;
  measured_spans spans_;
  embedded_record embedded_;
};

}  // namespace manager::loops
