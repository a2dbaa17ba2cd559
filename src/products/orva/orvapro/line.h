// The line of orvapro: compensates the chromatic dispersion of its receive side with a tunable
// compensator (TDCM) in series with a fixed module (DCM) that an optical switch takes in or out.
// The setting is made at a coldstart, when the line comes back, and on a changed write of the
// settings; between these the compensator is left alone. What could not be made at its time is
// tried again once a second, while the line goes on without it.
//
// Threads: trigger_initial_tdcm_setting and run on the manager thread, the setter on a server
// thread; one lock keeps the settings apart, and the manager thread never waits for it. Dispersion
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

  /// Does not throw: a failure leaves the setting due, to be made by a later `run`.
  void trigger_initial_tdcm_setting() override;
  void run(nx_db& db, bool regulate, bool coldstart) override;
  void setup_api(nx_db& db) override;

  /// Throws nx_error -22 on a bad object or a value outside the compensator's range, and whatever
  /// the devices throw; the operator's choice is stored only when all has succeeded.
  void set_dispersion_settings(const nx::json_document& settings);
  /// Returns the position chosen; throws nx_error -22 when the switch answers another one.
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

  // Set once, after the values are on the tree: what is read in between answers with an error.
  std::mutex devices_mutex_;
  std::shared_ptr<device::interfaces::tdcm> tdcm_;
  std::shared_ptr<device::interfaces::optoswitch> optical_switch_;

  const float fixed_dcm_dispersion_;
  int attempt_level_ = 2;                      // of its log lines
  std::mutex setting_mutex_;                   // one setting at a time
  std::atomic<float> working_offset_{660.0f};  ///< what the switch position adds now
  std::atomic<float> manual_dispersion_{0.0f};
  std::atomic<dcm_path> tdcm_path_{dcm_path::with_fixed_dcm};
  std::atomic<bool> automatic_{true};
  std::atomic<bool> setting_due_{false};
  std::atomic<bool> path_known_{false};  // by a setting, or by what the fibre tells
  // The manager thread's own.
  bool has_failed_ = false;  // since the setting is due
  std::chrono::steady_clock::time_point last_attempt_;
};

}  // namespace products::orva::orvapro
