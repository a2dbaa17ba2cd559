// Any text in place of a stored channel plan: it is a plan or it is refused, and a saved plan loads
// again.
#include <algorithm>
#include <cstdint>

#include "base/channel/plan_text.h"
#include "fuzz/check.h"
#include "platform/wire/nx_error.h"

namespace {

using fuzz::check;

/// The stored form does not escape the version: it is a release's name.
bool is_plain(const channel::plan_entry& entry) {
  return std::all_of(entry.version.begin(), entry.version.end(), [](char c) {
    return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\';
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) try {
  const std::string stored(reinterpret_cast<const char*>(data), size);
  auto plan = channel::parse_plan(stored);
  for (const auto& entry : plan.entries)
    check(entry.width > 0 && entry.width <= 772 * 625, "a width fits into the band", stored);
  std::erase_if(plan.entries, [](const auto& entry) { return !is_plain(entry); });
  const auto saved = channel::plan_to_text(plan.entries);
  const auto again = channel::parse_plan(saved);
  check(again.entries == plan.entries && again.left_out == 0, "a saved plan loads", saved);
  return 0;
} catch (const nx_error& error) {
  check(error.code == -22 && error.message.starts_with("Stored channel plan is not"),
        "a text that is no plan is told as one", error.message);
  return 0;
}
