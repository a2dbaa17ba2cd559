// What adapters subscribe on the peer, as data.
#pragma once

#include <span>
#include <string>

#include "base/manager/remote/device/interface.h"
#include "base/manager/remote/device/value_table.h"

namespace manager::remote::device {

enum class value_kind { number, truth, text };
enum class offered_by { all, orva_alone };

struct subscription {
  value_kind kind;
  const char* path;  ///< "{}" takes a channel identifier
  offered_by who = offered_by::all;
};

/// Subscribes one after the other what this family offers, each with its first value.
void subscribe_all(manager::remote::client& client, ::device::subscriber& values,
                   std::span<const subscription> list, family peer);
void subscribe_all(manager::remote::client& client, ::device::subscriber& values,
                   std::span<const subscription> list, family peer, unsigned id);

/// Of a peer with client ports, orva or selka: the line as a whole, and one of its channels.
extern const std::span<const subscription> terminal_line_paths;
extern const std::span<const subscription> terminal_channel_paths;
/// Of a peer that compensates dispersion, and of an in-line amplifier.
extern const std::span<const subscription> dispersion_paths;
extern const std::span<const subscription> tarn_line_paths;

}  // namespace manager::remote::device
