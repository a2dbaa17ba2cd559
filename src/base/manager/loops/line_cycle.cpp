// The line's cycle: the state of the fibre, and what is done about it.
#include <exception>

#include <fmt/format.h>

#include "base/guards/line_span.h"
#include "base/insight/event_log.h"
#include "base/manager/leds.h"
#include "base/manager/loops/line_arithmetic.h"
#include "base/manager/loops/line_loop.h"
#include "base/manager/remote/api.h"
#include "helpers/guard.h"
#include "helpers/logger.h"
#include "helpers/waiting.h"

namespace manager::loops {

namespace {

using namespace std::chrono_literals;

/// After a coldstart the devices need a moment until their readings can be trusted.
constexpr auto coldstart_pause = 5s;
constexpr auto spanloss_pause = 25s;
/// Maximum time that a coldstart waits for a VOA that does not accept its setting; then the node
/// continues, and the setting is made later.
constexpr auto longest_coldstart = 30s;
/// The supervisory link finds its neighbour within seconds, once each end hears the other.
constexpr auto longest_link_search = 10s;

std::chrono::steady_clock::time_point steady_now() {
  return helpers::steady_now();
}

}  // namespace

line_loop::line_loop(std::shared_ptr<manager::remote::api> remote)
    : peer_(remote), remote_(std::move(remote)), values_(nx::api::value_group::create(1)) {}

line_loop::~line_loop() = default;

void line_loop::declare_reads(std::vector<device::read_wish>& wishes) {
  if (voa_) voa_->declare_reads(wishes);
  osc_->declare_reads(wishes);
  preamp_->declare_reads(wishes);
  booster_->declare_reads(wishes);
  sfp_->declare_reads(wishes);
}

void line_loop::init(nx_db&, bool embedded_ila) {
  last_spanloss_check_ = helpers::system_now();
  embedded_ila_ = embedded_ila;
  operational_ = true;
  helpers::logged_and_thrown([this] { is_voa_ready(); }, [this] { operational_ = false; });
  LUMORA_LOG(2, "Line loop is now operational.");
}

void line_loop::run(nx_db& db, bool regulate, bool coldstart) {
  begin_verdict();
  try {
    run_cycle(db, regulate, coldstart);
  } catch (...) {
    operational_ = false;
    judge(line_reason::failed, {}, helpers::current_exception_text());
    helpers::log_current_exception();
  }
  publish_verdict();
}

// Each alarm and the work on the fibre fail independently: the others have their cycle. The first
// failure counts as the cycle's.
void line_loop::run_cycle(nx_db& db, bool regulate, bool coldstart) {
  std::exception_ptr failure;
  const auto alone = [&failure](auto&& part) {
    try {
      part();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  look_at_peer();
  bool is_ready = true;
  alone([&] {
    is_ready = is_voa_ready();
    if (!is_ready) judge(line_reason::voa_away);
    if (is_ready) act_on_fibre(db, is_osc_up(), regulate, coldstart);
  });
  if (!is_ready) return;
  alone([&] { update_alarm(db, "1/rx/lossOfSignal", preamp_->has_los()); });
  alone([&] { leds_->set_line_rx_los(preamp_->has_los()); });
  alone([&] { update_alarm(db, "1/rx/osc/lossOfSignal", sfp_->has_los()); });
  alone([&] { update_alarm(db, "1/rx/osc/lossOfLink", osc_->has_loss_of_link()); });
  if (failure) std::rethrow_exception(failure);
}

void line_loop::look_at_peer() {
  if (peer_.look()) {
    peer_up_since_ = steady_now();
    powers_changed_.reset();
    begin_with_new_peer();
  } else if (!peer_.is_up()) {
    peer_up_since_.reset();
  }
}

// Data from an earlier connection is never mixed with data from this one. Existing settings stay,
// so a peer that restarts moves nothing.
void line_loop::begin_with_new_peer() {
  record_.note_incident();
  forget_measurements();
  last_remote_powers_.clear();
  saturation_steps_.reset();
  span_unknown_since_.reset();
  spans_.forget_samples();
}

void line_loop::act_on_fibre(nx_db& db, bool osc_up, bool regulate, bool coldstart) {
  if (!osc_up) link_down_ = steady_now();
  if (osc_up || !link_up_) link_up_ = steady_now();
  if (coldstart && !coldstart_done_ && !open_after_coldstart()) {
    return judge(line_reason::system_started);
  }
  if (preamp_->has_los() && !osc_up) return close_lost_fibre();
  if (!preamp_->is_enabled() || !booster_->is_enabled()) return enable_amplifiers();
  show_light_that_was_on();
  work_on_open_fibre(db, osc_up, regulate);
}

// After a warm start nothing has switched the booster on, so the panel would not know about it.
void line_loop::show_light_that_was_on() {
  if (!is_light_shown_) leds_->set_line_tx_enabled(true);
  is_light_shown_ = true;
}

bool line_loop::is_osc_up() {
  bool up = false;
  helpers::guarded([&] { up = osc_->is_operational(); });
  return up;
}

bool line_loop::sees_supervisory_light() {
  bool sees = false;
  helpers::guarded([&] { sees = !sfp_->has_los(); });
  return sees;
}

// True once done: the amplifiers wait until the VOA shows its setting, which it does in the next
// cycle.
bool line_loop::open_after_coldstart() {
  if (!coldstart_pause_ended_) {
    LUMORA_LOG(2, "Coldstart! Setting VOA default attenuation.");
    if (!helpers::waiting::instance().sleep(coldstart_pause)) return false;
    coldstart_pause_ended_ = steady_now();
  }
  const bool is_late = steady_now() - *coldstart_pause_ended_ > longest_coldstart;
  if (!coldstart_opened_) {
    if (!is_late) set_voa_default_attenuation();
    coldstart_opened_ = true;
    begin_with_new_fibre();
    trigger_initial_tdcm_setting();
    return false;
  }
  if (!is_late) continue_opening(false);
  coldstart_done_ = is_late || !opening_ || opening_->is_shown;
  return coldstart_done_;
}

// Recorded as mended with the first light, before the channels' light is reported.
void line_loop::tell_cut(bool is_cut) {
  if (is_cut == is_cut_told_) return;
  is_cut_told_ = is_cut;
  using ::insight::event_kind;
  ::insight::event_log::instance().tell(is_cut ? event_kind::cut : event_kind::mended,
                                        guard_subject);
}

void line_loop::close_lost_fibre() {
  judge(sees_supervisory_light() ? line_reason::no_way_out : line_reason::no_light);
  tell_cut(true);
  if (line_connection_ == false) return continue_opening(false);
  LUMORA_LOG(2, "Preamp LOS and OSC Link down! Coldstarting fiber.");
  preamp_->disable();
  set_voa_default_attenuation();
  set_booster_enabled(false);
  line_connection_ = false;
  begin_with_new_fibre();
}

void line_loop::enable_amplifiers() {
  judge(line_reason::amplifiers_go_on);
  tell_cut(false);
  LUMORA_LOG(2, "Enabling preamp.");
  preamp_->enable();
  LUMORA_LOG(2, "Enabling booster.");
  set_booster_enabled(true);
  begin_with_new_fibre();
}

void line_loop::work_on_open_fibre(nx_db& db, bool osc_up, bool regulate) {
  if (!osc_up) {
    LUMORA_LOG(1, "Unable to regulate, OSC link not up?");
    const bool is_late = steady_now() - *link_up_ > longest_link_search;
    return judge(is_late && sees_supervisory_light() ? line_reason::link_one_way
                                                     : line_reason::link_down);
  }
  if (line_connection_ == false) reopen_fibre();
  line_connection_ = true;
  continue_opening(osc_up);
  update_spanlosses();
  this->regulate(db, regulate);
}

void line_loop::reopen_fibre() {
  LUMORA_LOG(2, "Line connection is back up.");
  tell_cut(false);
  forget_measurements();
  set_voa_default_attenuation();
  begin_with_new_fibre();
  trigger_initial_tdcm_setting();
  leds_->set_line_tx_enabled(true);
}

void line_loop::update_alarm(nx_db& db, const std::string& name, bool active) {
  const unsigned severity = active ? 1 : 0;
  auto& alarm = alarms_[name];
  if (alarm) {
    alarm->update(severity);
    return;
  }
  alarm = nx::api::status_value<unsigned>::create(db, fmt::format("alarms/line/{}/severity", name),
                                                  severity, 1);
}

void line_loop::set_booster_enabled(bool enabled) {
  if (enabled) {
    booster_->enable();
  } else {
    booster_->disable();
  }
  leds_->set_line_tx_enabled(enabled);
  is_light_shown_ = true;
}

void line_loop::trigger_initial_tdcm_setting() {}

void line_loop::regulate(nx_db& db, bool regulate) {
  if (!remote_->is_known()) return judge_unknown_peer();
  if (!peer_.is_up()) judge(line_reason::peer_is_lost, {}, remote_->last_product());
  if (remote_->is_embedded_ila() && embedded_ila_) {
    manage_embedded_ila_line(db, regulate);
  } else {
    manage_line(db, regulate);
  }
  judge_silence();
}

// The peer's earlier reports on the spans are not about the fibre as it is now.
void line_loop::begin_with_new_fibre() {
  record_.note_incident();
  spans_.reset();
  spans_since_ = steady_now();
}

// An unknown value keeps its last reading: a failed read is not a loss of 100 dB.
void line_loop::update_spanlosses() {
  using operation = line_peer::operation;
  if (!last_spanloss_update_) {
    last_spanloss_update_ = helpers::system_now();
    return;
  }
  if (helpers::system_now() - *last_spanloss_update_ < spanloss_pause) return;
  const auto far = [this](operation what) {
    const auto power = peer_.value(what);
    return power ? guards::lit_power(*power) : std::nullopt;
  };
  const auto near_tx = known_line_tx_powers();
  const auto near_rx = known_line_rx_powers();
  bool any = false;
  const auto show = [&any](const pushed_float& value, std::optional<float> sent,
                           std::optional<float> received) {
    if (!sent || !received) return;
    value->update(loss_between(*sent, *received));
    any = true;
  };
  show(spanloss_oms_rx_, far(operation::get_line_tx_power), near_rx.signal);
  show(spanloss_oms_tx_, near_tx.signal, far(operation::get_line_rx_power));
  show(spanloss_ots_rx_, far(operation::get_line_tx_total_power), near_rx.total);
  show(spanloss_ots_tx_, near_tx.total, far(operation::get_line_rx_total_power));
  if (any) last_spanloss_update_ = helpers::system_now();
}

bool line_loop::is_voa_ready() {
  return voa_->is_operational();
}

bool line_loop::is_operational() {
  return operational_;
}

float line_loop::get_wanted_power() {
  constexpr float default_power = 5.0f;
  return wanted_power_.load().value_or(default_power);
}

void line_loop::set_wanted_power(float power) {
  wanted_power_ = power;
}

}  // namespace manager::loops
