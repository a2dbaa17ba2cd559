// What the cycle's snapshot holds of each device, for "insight/device" and the ladder: it is copied
// when the snapshot has come, and nothing is asked for it. Of a device that does not answer the
// last readings are gone, its age grows, and it is not alive.
//
// take and refresh on the manager thread, the getters on any; the lock is a leaf. Powers dBm, gains
// and attenuations dB, lengths km, ages s.
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "api/lazy_value.h"
#include "device/cycle_reads.h"

class nx_db;

namespace insight {

class device_board : public std::enable_shared_from_this<device_board> {
 public:
  /// Publishes the devices that these wishes are sent to.
  void setup_api(nx_db& db, const std::vector<device::read_wish>& wishes);
  /// What has just been fetched.
  void take(const device::cycle_reads& reads);
  void refresh();

  /// A number that the last snapshot held; empty for one in the dark, beyond its kind's range or
  /// not told.
  std::optional<float> number(const std::string& device, const std::string& name) const;

  // Getters of the published values; error -61 with the reason for what has no meaning now.
  float get_number(unsigned row);
  std::string get_text(unsigned row);
  bool get_flag(unsigned row);
  float get_age(unsigned device);
  bool get_alive(unsigned device);

 private:
  using value = std::variant<std::monostate, bool, float, unsigned, std::string>;

  struct kept_value {
    value what;
    std::string failure = "Not read yet";
  };
  struct kept_device {
    std::string nexel{};  ///< address of its client; empty where the model has none
    bool alive = false;
    std::optional<std::chrono::steady_clock::time_point> last_answer{};
  };

  void publish_rows(nx_db& db, unsigned device);
  void take_row(unsigned row, const device::cycle_reads& reads, kept_device& device);
  float number_of(unsigned row) const;
  std::vector<kept_value> values_;    // by row
  std::vector<kept_device> devices_;  // by device
  std::vector<std::shared_ptr<nx::api::lazy_node>> nodes_;
  mutable std::mutex mutex_;  // guards values and devices
};

}  // namespace insight
