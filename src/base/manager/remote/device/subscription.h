// What adapters subscribe on the peer, as data.
#pragma once

#include <span>
#include <vector>

#include "base/manager/remote/device/value_table.h"
#include "device/subscriber.h"

namespace manager::remote::device {

enum class offered_by { all, orva_alone };

struct subscription {
  ::device::value_type type;
  const char* path;  ///< "{}" takes a channel identifier
  ::device::reading_kind kind = ::device::reading_kind::any_number;
  offered_by who = offered_by::all;
};

/// What this family offers of a list, in its order.
std::vector<::device::wanted_path> offered_paths(std::span<const subscription> list, family peer);
std::vector<::device::wanted_path> offered_paths(std::span<const subscription> list, family peer,
                                                 unsigned id);

/// Of a peer with client ports, orva or selka: the line as a whole, and one of its channels.
extern const std::span<const subscription> terminal_line_paths;
extern const std::span<const subscription> terminal_channel_paths;
/// Of a peer that compensates dispersion, and of an in-line amplifier.
extern const std::span<const subscription> dispersion_paths;
extern const std::span<const subscription> tarn_line_paths;

}  // namespace manager::remote::device
