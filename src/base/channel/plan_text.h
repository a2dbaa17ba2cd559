// The stored form of a channel plan: a JSON array of objects, in order of ascending centre
// frequency and without blanks. Frequencies and widths in units of 10 MHz.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "models/band.h"

namespace channel {

struct plan_entry {
  std::uint32_t center_frequency = 0;
  std::uint32_t width = 0;
  std::uint32_t port = 0;
  std::string version = "n/a";

  bool operator==(const plan_entry&) const = default;
};

/// Slices of 6.25 GHz in the widest band of a model.
inline constexpr std::uint32_t widest_band_slices = models::selka_slices;

/// Width of a band with this many slices, which is the limit for a channel.
constexpr std::uint32_t band_width(std::uint32_t slices) {
  return slices * 625;
}

struct parsed_plan {
  std::vector<plan_entry> entries;  ///< the good ones, in the order of the text
  unsigned left_out = 0;            ///< number of bad ones
  std::string first_fault;          ///< position of the first bad one, and what is wrong with it
};

/// An empty text is an empty plan: the key was never written. An entry that no switch can have, or
/// that overlaps an earlier one, is as bad as one that cannot be read. Throws nx_error -22, saying
/// what is wrong, if the text is not an array of objects, or if none of its entries is valid.
parsed_plan parse_plan(const std::string& text, std::uint32_t band_slices = widest_band_slices);

std::string plan_to_text(const std::vector<plan_entry>& entries);

}  // namespace channel
