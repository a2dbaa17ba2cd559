// The table of peer_values.def as data: the result of each operation for each product family, and
// what a peer of the family is asked for.
//
// Pure functions on any thread; they throw nothing.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "device/subscriber.h"

namespace manager::remote::device {

enum class family { orva, selka, tarn, unknown };

/// One for each getter of remote::api.
enum class operation {
#define PEER_VALUE(result, getter, ...) getter,
#include "base/manager/remote/device/peer_values.def"
#undef PEER_VALUE
  count
};

enum class scope { line, compensator, direction, channel };

/// Read from the subscription cache; "{}" takes a channel identifier or a direction.
struct path {
  const char* text;
  unsigned place = 0;  ///< position in the subscription, from 1; those with 0 come last
};
/// Thrown as nx_error -22.
struct refusal {
  const char* text;
};
/// The constant answer of a family that has no such text.
struct words {
  const char* text;
};

using cell = std::variant<path, refusal, words, float>;

/// What the peer reports: numbers of a kind, or a value of another type.
struct told {
  constexpr told(::device::reading_kind of) : kind(of) {}
  constexpr told(::device::value_type of) : type(of) {}

  ::device::value_type type = ::device::value_type::number;
  ::device::reading_kind kind = ::device::reading_kind::any_number;
};

struct row {
  const char* getter;
  scope of;
  told value;
  std::array<cell, 4> of_families;  ///< in the order of `family`

  const cell& of_family(family peer) const { return of_families[static_cast<std::size_t>(peer)]; }
};

const row& row_of(operation what);

/// What a peer of the family is asked for, in order: for the line, and for a channel.
std::vector<::device::wanted_path> line_paths_of(family peer, bool compensates);
std::vector<::device::wanted_path> channel_paths_of(family peer, unsigned id);

/// Numbers of the line that are never constant: they are measured continuously and show noise.
std::span<const operation> restless_values();

}  // namespace manager::remote::device
