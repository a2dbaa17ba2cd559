// The contents of the cycle's snapshot for each device, for "insight/device" and the ladder: copied
// when the snapshot has arrived; nothing extra is read. If a device does not answer, its last
// readings are dropped, its age grows, and it is not alive.
//
// take and refresh on the manager thread, the getters on any; the lock is a leaf. Powers in dBm,
// gains and attenuations in dB, lengths in km, ages in s.
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
  /// Publishes the devices to which these reads are sent.
  void setup_api(nx_db& db, const std::vector<device::read_wish>& wishes);
  /// What has just been fetched.
  void take(const device::cycle_reads& reads);
  void refresh();

  /// A number from the last snapshot; empty if it was measured in the dark, is outside its kind's
  /// range or was not reported.
  std::optional<float> number(const std::string& device, const std::string& name) const;

  /// The same, but in the dark as it was told: what a tap shows there, or -99.
  std::optional<float> told(const std::string& device, const std::string& name) const;

  // Getters of the published values; error -61 with the reason if a value has no meaning at
  // present.
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
    std::string nexel{};  ///< address of its client; empty if the model does not have it
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
