// The stored form of a channel plan: a JSON array of objects, in ascending centre frequency and
// without blanks. Frequencies and widths in units of 10 MHz.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace channel {

struct plan_entry {
  std::uint32_t center_frequency = 0;
  std::uint32_t width = 0;
  std::uint32_t port = 0;
  std::string version = "n/a";

  bool operator==(const plan_entry&) const = default;
};

struct parsed_plan {
  std::vector<plan_entry> entries;  ///< the good ones, in the order of the text
  bool has_bad_entries = false;
};

/// An empty text is an empty plan: the key was never written. Throws nx_error -22 with what is
/// wrong when the text is no array of objects.
parsed_plan parse_plan(const std::string& text);

std::string plan_to_text(const std::vector<plan_entry>& entries);

}  // namespace channel
