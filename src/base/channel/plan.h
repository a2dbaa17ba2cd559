// The channels of one direction, keyed by centre frequency, and their storage in the key store. The
// manager creates one plan for each direction and shares it with the loops.
//
// All work on channels runs under this mutex; a client loop holds it during its walk, so a channel
// command waits for the end of a cycle. It is not recursive: operations marked "locked" expect the
// caller to hold it, the others take it themselves. RX comes before TX if both are needed. T is the
// channel control class.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "base/channel/plan_text.h"
#include "platform/threads/ranked_mutex.h"

namespace insight {
class channel_board;
}

namespace channel {

template <class T>
class plan {
 public:
  using channel_map = std::map<unsigned, std::shared_ptr<T>>;

  /// Slices of 6.25 GHz; direction "rx" or "tx".
  plan(unsigned slices, std::string direction);

  /// Locked. Replaces an entry with the same frequency; creates no tree values and touches no
  /// device.
  std::shared_ptr<T> add_channel(unsigned frequency, unsigned width, unsigned port,
                                 std::string version);
  /// Locked. A missing channel is logged.
  void remove_channel(unsigned frequency);

  std::optional<std::shared_ptr<T>> get_channel(unsigned frequency);

  /// Locked. Replaces the whole plan with the stored one. If the store is away, the plan stays as
  /// it was (nx_error -5); if the stored text is not a plan, or has no valid entry, the plan is
  /// empty (nx_error -22). Bad entries among good ones are left out and logged.
  void load();
  /// Locked. Throws nx_error -5 if the store is away.
  void save();
  /// Locked.
  std::string to_json();

  std::shared_ptr<channel_map> get_channels() { return channels_; }
  nx::ranked_mutex& get_mutex() { return mutex_; }
  const std::string& get_direction() const { return direction_; }
  unsigned get_slices() const { return slices_; }
  /// Published data about the channels, guarded by the mutex.
  const std::shared_ptr<insight::channel_board>& get_board() { return board_; }

 private:
  std::string store_key() const;
  void replace_with(const parsed_plan& stored, const std::string& text);

  std::shared_ptr<channel_map> channels_;
  std::uint32_t slices_;
  nx::ranked_mutex mutex_;
  std::string direction_;
  std::shared_ptr<insight::channel_board> board_;
};

}  // namespace channel
