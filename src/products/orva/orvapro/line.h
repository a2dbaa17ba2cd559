// The line of orvapro: compensates the chromatic dispersion of its receive side with a tunable
// compensator (TDCM) in series with a fixed module (DCM), which an optical switch puts into or
// takes out of the path. The setting is made at a coldstart, when the line comes back, and when the
// settings are changed; otherwise the compensator is left alone. If it cannot be made in time, it
// is retried once a second, while the line continues without it.
//
// Threads: trigger_initial_tdcm_setting and run on the manager thread, the setter on a server
// thread; one lock serialises the settings, and the manager thread never waits for it. Dispersion
// in ps/nm.
#pragma once

#include <atomic>
#include <chrono>
#include <mutex>

#include "base/manager/loops/line.h"
#include "device/interfaces/optoswitch.h"
#include "device/interfaces/tdcm.h"
#include "products/orva/orvapro/dispersion.h"

namespace products::orva::orvapro {

template <class T>
class line : public ::manager::loops::line<T> {
 public:
  using base = ::manager::loops::line<T>;

  line(std::shared_ptr<::channel::plan<T>> channels,
       std::shared_ptr<::manager::remote::api> remote);

  void set_dispersion_devices(std::shared_ptr<device::interfaces::tdcm> tdcm,
                              std::shared_ptr<device::interfaces::optoswitch> optical_switch);

  /// Does not throw: after a failure the setting stays due, for a later `run`.
  void trigger_initial_tdcm_setting() override;
  void run(nx_db& db, bool regulate, bool coldstart) override;
  void setup_api(nx_db& db) override;

  /// Throws nx_error -22 for a bad object or a value outside the compensator's range, and whatever
  /// the devices throw; the operator's choice is stored only if everything has succeeded.
  void set_dispersion_settings(const nx::json_document& settings);
  /// Returns the position chosen; throws nx_error -22 if the switch reports another one.
  dcm_path auto_select_fixed_dcm_path();

  float get_tdcm_dispersion();
  float get_final_dispersion();  ///< what remains of the whole path
  nx::json_document get_dispersion_settings();
  unsigned get_tdcm_path();
  float get_cal_fiberdisp_offset_ps_nm();
  std::string get_fiber_type();
  float get_remote_tdcm_dispersion();
  float get_remote_final_dispersion();
  std::string get_remote_fiber_type();
  float get_remote_cal_fiberdisp_offset_ps_nm();

 private:
  void set_tdcm(bool automatic, float manual_value);
  void make_due_setting();
  void done_with_setting();
  void adopt_path();
  void note_path(dcm_path path);
  device::interfaces::tdcm& compensator();

  // Set once, after the values are on the tree; until then they answer with an error.
  std::mutex devices_mutex_;
  std::shared_ptr<device::interfaces::tdcm> tdcm_;
  std::shared_ptr<device::interfaces::optoswitch> optical_switch_;

  const float fixed_dcm_dispersion_;
  int attempt_level_ = 2;                      // for its log lines
  std::mutex setting_mutex_;                   // one setting at a time
  std::atomic<float> working_offset_{660.0f};  ///< dispersion added by the present switch position
  std::atomic<float> manual_dispersion_{0.0f};
  std::atomic<dcm_path> tdcm_path_{dcm_path::with_fixed_dcm};
  std::atomic<bool> automatic_{true};
  std::atomic<bool> setting_due_{false};
  std::atomic<bool> path_known_{false};  // from a setting, or from the fibre's length
  // The manager thread's own.
  bool has_failed_ = false;  // since the setting is due
  std::chrono::steady_clock::time_point last_attempt_;
};

}  // namespace products::orva::orvapro
